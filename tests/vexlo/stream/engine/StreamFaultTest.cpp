// The engine when link or system misbehave, and in states that last.

#include "vexlo/stream/support/EngineBench.h"

using namespace streamtest;

namespace {

struct LineFault {
    const char* name;
    usb::TransferStatus fault;
    VxStatus status;
};
void PrintTo(const LineFault& fault, std::ostream* out) {
    *out << fault.name;
}

class Interrupted : public testing::TestWithParam<LineFault> {};

/// The camera begins again at block 0 each time that it is switched on.
TEST_P(Interrupted, IsRestartedWhereverTheFaultCame) {
    for (std::size_t at = 0; at <= 5; ++at) {
        EngineBench bench;
        bench.camera.OnEnable([&](unsigned int) {
            for (std::uint64_t id = 0; id < 10; ++id)
                bench.bus.Send(bench.Good(id));
        });
        bench.Start();
        bench.bus.Send(bench.Good(0));
        bench.ExpectGood(0);
        const auto transfers = bench.Good(1);
        for (std::size_t i = 0; i < at; ++i)
            bench.bus.Send(transfers[i]);
        bench.bus.Fail(GetParam().fault);
        unsigned int failed = 0;
        CVxStream::GrabResult result = bench.Next();
        for (; result.BlockId != 9 && failed < 5; result = bench.Next()) {
            if (result.Status == VX_OK) {
                bench.Check(result, result.BlockId);
            } else {
                EXPECT_EQ(result.Status, GetParam().status);
                ++failed;
            }
            ASSERT_EQ(bench.Requeue(result), VX_OK);
        }
        EXPECT_EQ(failed, 1u) << at;
        EXPECT_EQ(bench.statistics.failedBuffers, 1u);
        EXPECT_EQ(bench.statistics.resynchronizations, 1u);
        EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
        EXPECT_EQ(bench.camera.HaltsBeforeEnable(), 1u);
        EXPECT_TRUE(bench.engine->WasRestarted());
        using Write = FakeCamera::Write;
        const std::vector<Write> expected{{0x04, 0}, {0x18, 1024}, {0x1C, 1024}, {0x20, 2},
                                          {0x24, 0}, {0x28, 1024}, {0x2C, 1024}, {0x04, 1}};
        EXPECT_EQ(bench.camera.Writes(), expected);
    }
}

TEST_P(Interrupted, KeepsTheBytesThatArrivedBefore) {
    EngineBench bench;
    bench.Start();
    bench.bus.Send({Leader(0, 3000), Pixels(0, 1024)});
    bench.bus.Fail(GetParam().fault);
    const CVxStream::GrabResult result = bench.Next();
    EXPECT_EQ(result.Status, GetParam().status);
    EXPECT_EQ(result.BlockId, 0u);
    ASSERT_EQ(result.PayloadSize, 1024u);
    const Bytes wanted = Pixels(0, 1024);
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), static_cast<const std::uint8_t*>(result.Buffer)));
}

TEST_P(Interrupted, GivesUpWhenNothingGoodComesAnyMore) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Fail(GetParam().fault); });
    bench.Start();
    bench.bus.Fail(GetParam().fault);
    ASSERT_TRUE(bench.bus.WaitFor([&] {
        if (!bench.IsEmpty()) bench.NextAndQueue();
        return bench.IsRefused();
    }));
    bench.engine->Cancel(); // the end is complete when the thread answers again
    EXPECT_EQ(bench.camera.TimesEnabled(), 8u);
    EXPECT_EQ(bench.camera.TimesLost(), 0u);
    bench.DrainFailed(GetParam().status);
    EXPECT_EQ(bench.statistics.totalBuffers, bench.statistics.failedBuffers);
    EXPECT_EQ(bench.statistics.failedBuffers, bench.Returned());
}

INSTANTIATE_TEST_SUITE_P(Each, Interrupted,
                         testing::Values(LineFault{"Stall", usb::TransferStatus::Stall, VX_E_USB_STALL},
                                         LineFault{"Error", usb::TransferStatus::Error, VX_E_USB_IO},
                                         LineFault{"Overflow", usb::TransferStatus::Overflow, VX_E_USB_OVERFLOW}),
                         [](const auto& instance) { return instance.param.name; });

TEST(StreamFault, DoesNotTrustABlockInWhichATransferFailed) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.FailEvents(usb::Result::Other); // all of this is looked at together
    const unsigned int calls = bench.bus.EventCalls();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.EventCalls() > calls; }));
    bench.bus.Fail(usb::TransferStatus::Error);
    const auto transfers = bench.Good(3);
    for (std::size_t i = 0; i < transfers.size(); ++i) {
        if (i == 2) bench.bus.Fail(usb::TransferStatus::Error);
        bench.bus.Send(transfers[i]);
    }
    bench.bus.FailEvents(usb::Result::Ok);
    EXPECT_EQ(bench.Next().Status, VX_E_USB_IO);
    const CVxStream::GrabResult next = bench.Next();
    EXPECT_EQ(next.Status, VX_OK);
    EXPECT_EQ(next.BlockId, 0u) << "of the stream that was switched on again";
}

TEST(StreamFault, CountsTheBuffersThatWaitedWhenTheCameraWent) {
    EngineBench bench({3000, 1024, 1024, 8, 0, 1});
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 1; }));
    bench.bus.Unplug();
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_USB_NO_DEVICE);
    EXPECT_EQ(bench.statistics.totalBuffers, 8u);
    EXPECT_EQ(bench.statistics.failedBuffers, 8u);
}

TEST(StreamFault, FindsTheCameraGoneBehindALineError) {
    EngineBench bench;
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.FailAndUnplug(usb::TransferStatus::Error);
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
    EXPECT_TRUE(bench.IsRefused());
}

TEST(StreamFault, SleepsWhenTheCameraIsGone) {
    EngineBench bench;
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Unplug();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
    bench.bus.FailEvents(usb::Result::NoDevice);
    const unsigned int before = bench.bus.EventCalls();
    EXPECT_FALSE(bench.WaitForResultOtherThan(VX_E_USB_NO_DEVICE, 100));
    EXPECT_LE(bench.bus.EventCalls() - before, 5u);
    bench.engine->Cancel();
}

TEST(StreamFault, DoesNotSpinWhenEventsCannotBeHandled) {
    EngineBench bench;
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    const unsigned int before = bench.bus.EventCalls();
    bench.bus.FailEvents(usb::Result::Io);
    EXPECT_FALSE(bench.WaitForResultOtherThan(VX_OK, 200));
    EXPECT_LE(bench.bus.EventCalls() - before, 50u);
    bench.bus.FailEvents(usb::Result::Ok);
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
}

TEST(StreamFault, StopsQuicklyWhileEventsCannotBeHandled) {
    EngineBench bench;
    bench.StartWithoutBuffers();
    bench.bus.Send(Leader(0, 3000)); // takes the only transfer that needs no buffer
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 0 && bench.bus.Ended() == 0; }));
    bench.bus.FailEvents(usb::Result::Io);
    bench.Stop();
}

TEST(StreamFault, KeepsTheOrderWhenMemoryIsShort) {
    for (const std::size_t limit : {1u, 2u, 4u, 5u, 6u, 11u}) {
        EngineBench bench;
        bench.bus.AllowTransfers(limit);
        bench.Start();
        for (std::uint64_t id = 0; id < 20; ++id) {
            bench.bus.Send(bench.Good(id));
            bench.ExpectGood(id);
        }
        EXPECT_EQ(bench.statistics.failedBuffers, 0u);
        EXPECT_EQ(bench.statistics.resynchronizations, 0u);
    }
}

TEST(StreamFault, WaitsUntilThereIsMemoryForOneTransfer) {
    EngineBench bench;
    bench.bus.AllowTransfers(0);
    bench.Start();
    bench.bus.Send(bench.Good(0));
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.EventCalls() > 3; }));
    bench.bus.AllowTransfers(1);
    bench.ExpectGood(0);
}

TEST(StreamFault, UsesMemoryAgainThatWasShortForATime) {
    EngineBench bench;
    bench.bus.AllowTransfers(1);
    bench.Start();
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
    bench.bus.AllowTransfers(SIZE_MAX);
    std::uint64_t id = 1;
    for (; id < 2000 && bench.bus.MostQueued() < 6; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_GE(bench.bus.MostQueued(), 6u);
}

TEST(StreamFault, LosesNothingWhenTheSystemIsShortOfMemoryAndBlamesTheLine) {
    for (std::size_t limit = 1; limit <= 5; ++limit) {
        EngineBench bench;
        bench.bus.AllowTransfers(limit, usb::Result::Io);
        bench.Start();
        for (std::uint64_t id = 0; id < 20; ++id) {
            bench.bus.Send(bench.Good(id));
            bench.ExpectGood(id);
        }
        EXPECT_EQ(bench.statistics.failedBuffers, 0u);
    }
}

TEST(StreamFault, LosesNothingWhenATransferIsRefusedNowAndThen) {
    for (const usb::Result refusal : {usb::Result::Io, usb::Result::Busy}) {
        EngineBench bench;
        bench.bus.RefuseSubmits(refusal, 11);
        bench.Start();
        for (std::uint64_t id = 0; id < 100; ++id) {
            bench.bus.Send(bench.Good(id));
            bench.ExpectGood(id);
        }
        EXPECT_FALSE(bench.engine->WasRestarted());
    }
}

TEST(StreamFault, MakesItsTransfersSmallerUntilThereIsMemoryForThem) {
    Sizes sizes;
    sizes.payload = 3 << 20;
    sizes.transfer = 1 << 20;
    EngineBench bench(sizes);
    bench.camera.Set(0x00, 0x0A000000); // alignment 1024
    bench.camera.Set(0x08, 3 << 20);
    bench.bus.AllowBytes(100 << 10);
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    bench.bus.Send(bench.Good(0));
    CVxStream::GrabResult result = bench.NextAndQueue();
    EXPECT_EQ(result.Status, VX_E_USB_NO_MEMORY) << "it had begun";
    for (int i = 0; i < 4 && result.Status == VX_E_USB_NO_MEMORY; ++i)
        result = bench.NextAndQueue();
    bench.Check(result, 0);
    EXPECT_EQ(bench.camera.TransferLimit(), UINT32_MAX) << "the camera is not to blame";
}

TEST(StreamFault, TellsThatThereIsNoMemoryAtAllAndGoesOnWhenThereIs) {
    EngineBench bench;
    bench.bus.AllowTransfers(0);
    bench.Start();
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_NO_MEMORY);
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.bus.AllowTransfers(SIZE_MAX);
    bench.bus.Send(bench.Good(0));
    while (bench.NextAndQueue().Status == VX_E_USB_NO_MEMORY) {
    }
    EXPECT_EQ(bench.statistics.lastFailedStatus, VX_E_USB_NO_MEMORY);
}

TEST(StreamFault, RestartsWhenATransferIsRefusedForGood) {
    EngineBench bench;
    bench.StartWithoutBuffers();
    bench.bus.RefuseSubmit(usb::Result::InvalidParam);
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.QueueAll();
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_IO);
    bench.ExpectGood(0);
}

/// Field reports: at the unplug transfers fail as of a bad link, and so do registers, before anybody knows.
TEST(StreamFault, WaitsOutABadLinkThatTurnsOutToBeAnUnplug) {
    EngineBench bench;
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.camera.OnWrite(0x18, [&](unsigned int number) {
        if (number < 3) return VX_E_USB_IO;
        EXPECT_FALSE(bench.IsRefused()) << "it is tried again and again";
        bench.bus.Unplug();
        return VX_E_USB_NO_DEVICE;
    });
    for (int i = 0; i < 20; ++i)
        bench.bus.Fail(usb::TransferStatus::Error);
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
    EXPECT_EQ(bench.Next().Status, VX_E_USB_IO) << "the block that the link cut off";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_USB_NO_DEVICE);
    EXPECT_EQ(bench.statistics.resynchronizations, 1u);
}

TEST(StreamFault, ComesBackWhenABadLinkRecovers) {
    EngineBench bench;
    bench.camera.OnWrite(0x18, [](unsigned int number) { return number < 4 ? VX_E_USB_IO : VX_OK; });
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Fail(usb::TransferStatus::Error);
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_IO);
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

TEST(StreamFault, GivesUpOnALinkThatStaysBad) {
    EngineBench bench;
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.camera.AnswerWrites(0x18, VX_E_TIMEOUT);
    bench.bus.Fail(usb::TransferStatus::Error);
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.IsRefused(); }));
    bench.engine->Cancel(); // the end is complete when the thread answers again
    bench.DrainFailed(VX_E_USB_IO);
    EXPECT_EQ(bench.Returned(), 4u);
    EXPECT_EQ(bench.camera.TimesLost(), 0u);
}

TEST(StreamFault, TellsThatTheStreamHasEndedAtOnce) {
    constexpr unsigned int kTimeoutMs = 60000;
    const auto told = Tavix::WaitObjectEx::Create(); // goes last: the stream's thread may still be inside Signal
    EngineBench bench;
    bench.pool.SetEndListener([&](VxStatus reason) {
        EXPECT_EQ(reason, VX_E_USB_STALL);
        told.Signal();
    });
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Fail(usb::TransferStatus::Stall); });
    bench.Start();
    bench.bus.Fail(usb::TransferStatus::Stall);
    EXPECT_TRUE(told.Wait(kTimeoutMs));
    EXPECT_TRUE(bench.IsRefused());
    bench.DrainFailed(VX_E_USB_STALL);
}

TEST(StreamFault, SetsTheHaltWhenClearingItDoesNotHelp) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int times) {
        if (times < 3) return bench.bus.Fail(usb::TransferStatus::Stall);
        bench.bus.Send(bench.Good(0));
    });
    bench.Start();
    bench.bus.Fail(usb::TransferStatus::Stall);
    while (bench.NextAndQueue().Status == VX_E_USB_STALL) {
    }
    EXPECT_EQ(bench.camera.TimesEnabled(), 3u);
    EXPECT_EQ(bench.bus.HaltsSet(), 1u);
}

TEST(StreamFault, QueuesBeforeItSwitchesOnAgain) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Fail(usb::TransferStatus::Stall);
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_STALL);
    bench.ExpectGood(0);
    EXPECT_GE(bench.camera.QueuedBeforeEnable(), 15u) << "all blocks that there are buffers for";
}

TEST(StreamFault, EndsWhenATransferIsRefusedBecauseTheCameraIsGone) {
    EngineBench bench;
    bench.bus.RefuseSubmit(usb::Result::NoDevice);
    bench.StartWithoutBuffers();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
    EXPECT_TRUE(bench.IsRefused());
}

TEST(StreamFault, FindsThePlaceInWhatAnEarlierRunLeft) {
    for (std::size_t first = 1; first <= 4; ++first) {
        EngineBench bench;
        const auto old = bench.Good(77);
        bench.bus.Send(std::vector<Bytes>(old.begin() + static_cast<std::ptrdiff_t>(first), old.end()));
        bench.Start();
        bench.ExpectRecovery(0, 2);
    }
}

/// Leaders and trailers that fill their transfers look like payload once the place is lost.
TEST(StreamFault, RestartsWhenNothingTellsWhereABlockEnds) {
    EngineBench bench;
    const auto filled = [&](std::uint64_t id) {
        auto transfers = bench.Good(id);
        transfers.front().resize(1024);
        transfers.back().resize(1024);
        return transfers;
    };
    const auto blocks = [&](std::uint64_t count) {
        std::vector<Bytes> transfers;
        for (std::uint64_t id = 0; id < count; ++id)
            transfers = transfers + filled(id);
        return transfers;
    };
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(blocks(10)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Send(Without(filled(77), 0) + blocks(80));
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_BAD_LEADER);
    for (std::uint64_t id = 0; id < 10; ++id)
        bench.ExpectGood(id);
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
    EXPECT_EQ(bench.statistics.failedBuffers, 1u);
}

TEST(StreamFault, DoesNotWaitForEverWhenOnlyEmptyPacketsCome) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Send(Bytes(1024, 1));
    bench.bus.Send(std::vector<Bytes>(300));
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_BAD_LEADER);
    bench.ExpectGood(0);
}

/// The block that is read while the place is looked for is no better than those of the plan.
TEST(StreamFault, DoesNotTakeABlockForGoodThatBringsTooMuchWhileThePlaceIsLookedFor) {
    EngineBench bench({5000, 2048, 1024});
    const auto lost = Without(bench.Good(0), 4);
    bench.bus.Send(lost + Inserted(bench.Good(1), 1, Pixels(1, 2048)) + bench.Good(2));
    bench.Start();
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_BAD_TRAILER);
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_DATA_OVERRUN);
    bench.ExpectGood(2);
}

/// A camera that does so does it with every block.
TEST(StreamFault, GetsWholeBlocksFromACameraThatSendsAnEmptyPacketBeforeEachTrailer) {
    for (const std::size_t buffers : {1u, 2u, 4u}) {
        EngineBench bench({4096, 2048, 1024, buffers});
        bench.Start();
        for (std::uint64_t id = 0; id < 10; ++id) {
            bench.bus.Send(Inserted(bench.Good(id), bench.plan.PayloadTransfers() + 1, {}));
            bench.ExpectGood(id);
        }
    }
}

} // namespace
