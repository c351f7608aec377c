// Cameras whose blocks come whole with small transfers only.

#include "vexlo/stream/support/EngineBench.h"

#include "vexlo/stream/block/FirstBlocks.h"

using namespace streamtest;

namespace {

constexpr std::uint64_t kNarrowPayload = 300000;

TEST(FirstBlocks, AskForSmallerTransfersAfterThreeBrokenOnes) {
    FirstBlocks blocks;
    EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE));
    EXPECT_FALSE(blocks.Note(VX_E_CANCELLED));
    EXPECT_FALSE(blocks.Note(VX_E_USB_NO_DEVICE));
    EXPECT_FALSE(blocks.IsDecided());
    EXPECT_FALSE(blocks.Note(VX_E_USB_OVERFLOW));
    EXPECT_TRUE(blocks.Note(VX_E_BAD_TRAILER));
    EXPECT_FALSE(blocks.Note(VX_E_BAD_TRAILER)) << "once only";
}

TEST(FirstBlocks, AreContentWithOneThatCameWhole) {
    for (const VxStatus whole : {VX_OK, VX_E_BUFFER_TOO_SMALL, VX_E_DATA_DISCARDED, VX_E_DATA_OVERRUN}) {
        FirstBlocks blocks;
        EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE));
        EXPECT_FALSE(blocks.Note(whole));
        for (int i = 0; i < 10; ++i)
            EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE)) << whole;
    }
}

TEST(SilentTransfers, IsTooLongFromTheLatestOfStartTransferAndWriteOn) {
    using std::chrono::milliseconds;
    const Silence::Clock::time_point start{std::chrono::hours(1)};
    Silence silence(milliseconds(100));
    silence.SwitchedOn(start);
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(500), start - milliseconds(1))) << "nobody wrote anything";
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(119), start + milliseconds(20)));
    EXPECT_TRUE(silence.IsTooLong(start + milliseconds(120), start + milliseconds(20)));
    silence.Break(start + milliseconds(50));
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(149), start + milliseconds(20)));
    EXPECT_TRUE(silence.IsTooLong(start + milliseconds(150), start + milliseconds(20)));
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(150), start + milliseconds(51)));
    silence.SwitchedOn(start + milliseconds(200));
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(299), start + milliseconds(20)));
    EXPECT_TRUE(silence.IsTooLong(start + milliseconds(300), start + milliseconds(20))) << "the write counts still";
    silence.Ignore();
    EXPECT_FALSE(silence.IsTooLong(start + milliseconds(300), start + milliseconds(20)));
}

TEST(SilentTransfers, OfNoTimeoutIsNeverTooLong) {
    Silence silence(std::chrono::milliseconds(0));
    silence.SwitchedOn(Silence::Clock::now());
    EXPECT_TRUE(silence.IsIgnored());
    EXPECT_FALSE(silence.IsTooLong(Silence::Clock::now() + std::chrono::hours(1), Silence::Clock::now()));
}

/// A stream of one transfer a block, and the same in transfers of 64 KiB.
class Narrow : public testing::Test {
protected:
    explicit Narrow(std::chrono::milliseconds silence = {})
        : bench({kNarrowPayload, 1 << 20, 1024, 4, 0, 64, silence}) {
        u3v::TransferNeeds needs;
        needs.payloadSize = kNarrowPayload;
        needs.packetSize = 1024;
        needs.maxTransferSize = 64 << 10;
        narrow = *u3v::MakeTransferPlan(needs);
        bench.camera.Set(0x08, kNarrowPayload);
        bench.camera.OnEnable([this](unsigned int) {
            for (std::uint64_t id = 0; id < 4; ++id)
                bench.bus.Send(Block(id, narrow));
        });
    }
    void StartSettled() {
        bench.Start();
        ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() > 1; }));
    }
    /// A block that ends in its first payload transfer.
    std::vector<Bytes> Broken(std::uint64_t id) const {
        return {Leader(id, kNarrowPayload), Pixels(id, 1000), {}, Trailer(id, kNarrowPayload)};
    }
    std::size_t LongestQueued() const {
        std::size_t longest = 0;
        for (const usb::Transfer& transfer : bench.bus.QueuedTransfers())
            longest = std::max(longest, transfer.length);
        return longest;
    }

    EngineBench bench;
    u3v::TransferPlan narrow;
};

TEST_F(Narrow, TransfersReplaceThoseThatNeverBroughtAWholeBlock) {
    ASSERT_EQ(bench.plan.PayloadTransfers(), 2u);
    StartSettled();
    bench.bus.Send(Broken(0) + Broken(1) + Broken(2));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    for (std::uint64_t id = 0; id < 4; ++id)
        bench.ExpectGood(id);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10) << "for the next time";
    EXPECT_TRUE(bench.bus.WaitFor([&] { return LongestQueued() == 64u << 10; }));
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

TEST_F(Narrow, TransfersAreNotForCamerasThatLoseABlockLater) {
    StartSettled();
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
    for (std::uint64_t id = 1; id < 6; ++id) {
        bench.bus.Send(Broken(id));
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    }
    bench.bus.Send(bench.Good(6));
    bench.ExpectGood(6);
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

TEST_F(Narrow, TransfersAreTriedByARestartThatIsDueAnyway) {
    bench.camera.OnEnable([this](unsigned int times) {
        if (times < 3) return bench.bus.Fail(usb::TransferStatus::Overflow);
        bench.bus.Send(Block(0, narrow));
    });
    StartSettled();
    bench.bus.Fail(usb::TransferStatus::Overflow);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_OVERFLOW);
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.TimesEnabled(), 3u);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10);
}

TEST_F(Narrow, TransfersAreWaitedForWhenTheSizesCannotBeRead) {
    bench.camera.AnswerReads(0x08, VX_E_TIMEOUT);
    bench.camera.OnWrite(0x04, [this](unsigned int number) {
        if (number == 2) bench.camera.AnswerReads(0x08, VX_OK);
        return VX_OK;
    });
    StartSettled();
    bench.bus.Send(Broken(0) + Broken(1) + Broken(2));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    bench.ExpectGood(0);
}

/// Cameras of which nothing comes at all, or nothing more.
class SilentNarrow : public Narrow {
protected:
    SilentNarrow() : Narrow(kTimeout) {}

    /// The application starts the acquisition.
    void Write() { bench.camera.lastWrite = std::chrono::steady_clock::now(); }
    /// Much more time than a camera is given passes.
    void LetTimePass() {
        const auto end = std::chrono::steady_clock::now() + 4 * kTimeout;
        ASSERT_TRUE(bench.bus.WaitFor([&] {
            bench.bus.WakeEvents(); // the engine looks at the clock each time
            return std::chrono::steady_clock::now() >= end;
        }));
    }
    static constexpr std::chrono::milliseconds kTimeout{40};
    static constexpr std::uint32_t kWide = 299008; // all of the payload but its tail
};

TEST_F(SilentNarrow, TransfersAreTriedWhenNothingCame) {
    StartSettled();
    Write();
    for (std::uint64_t id = 0; id < 4; ++id)
        bench.ExpectGood(id);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10) << "for the next time";
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
    EXPECT_EQ(bench.statistics.failedBuffers, 0u) << "no block had begun";
    EXPECT_EQ(bench.statistics.resynchronizations, 1u);
}

TEST_F(SilentNarrow, TransfersAreTriedWhenNothingFollowsALeader) {
    StartSettled();
    bench.bus.Send({Leader(0, kNarrowPayload)});
    Write();
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    for (std::uint64_t id = 0; id < 4; ++id)
        bench.ExpectGood(id);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10);
    EXPECT_EQ(bench.statistics.failedBuffers, 1u);
}

TEST_F(SilentNarrow, TransfersAreTriedWhenTheFirstBlockBrokeOff) {
    StartSettled();
    bench.bus.Send(Broken(0));
    Write();
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10);
}

TEST_F(SilentNarrow, TransfersAreTriedOnceAndChangeNothingForACameraThatWaits) {
    bench.camera.OnEnable({});
    StartSettled();
    Write();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.trustedTransfer != 0; }));
    EXPECT_EQ(bench.camera.trustedTransfer, kWide) << "nor is it tried the next time";
    LetTimePass();
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
    bench.bus.Send(Block(0, narrow)); // its trigger
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
    EXPECT_EQ(bench.statistics.failedBuffers, 0u);
}

TEST_F(SilentNarrow, TransfersAreNotTriedBeforeTheApplicationStartsTheAcquisition) {
    StartSettled();
    LetTimePass();
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

TEST_F(SilentNarrow, TransfersAreNotTriedWithoutBuffers) {
    bench.StartWithoutBuffers();
    Write();
    LetTimePass();
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
    bench.QueueAll();
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

TEST_F(SilentNarrow, TransfersAreNotTriedForACameraThatIsKnownToDoBetter) {
    bench.camera.trustedTransfer = kWide;
    StartSettled();
    Write();
    LetTimePass();
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

/// Nothing is tried before the camera goes, however slow the machine is.
class PatientNarrow : public Narrow {
protected:
    PatientNarrow() : Narrow(std::chrono::minutes(10)) {}
};

TEST_F(PatientNarrow, TransfersAreStillInDoubtWhenTheCameraGoes) {
    StartSettled();
    bench.camera.lastWrite = std::chrono::steady_clock::now(); // the application starts the acquisition
    bench.bus.Unplug();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_USB_NO_DEVICE);
    EXPECT_EQ(bench.camera.trustedTransfer, 0u);
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
}

TEST_F(SilentNarrow, TransfersAreNotTriedAfterOneWholeBlock) {
    StartSettled();
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.trustedTransfer, kWide);
    Write();
    LetTimePass();
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

TEST(WideEnough, TransfersStayAsTheyAre) {
    EngineBench bench; // of 1 KiB
    bench.Start();
    for (std::uint64_t id = 0; id < 5; ++id) {
        bench.bus.Send({Leader(id, 3000), Pixels(id, 1000), {}, {}, Trailer(id, 3000)});
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    }
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

} // namespace
