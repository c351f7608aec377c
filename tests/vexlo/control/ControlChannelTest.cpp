// Commands and their acknowledges, one at a time.
#include "vexlo/support/ControlChannelFixture.h"
#include "vexlo/support/FakeClock.h"

namespace {

using namespace vexlotest;
using namespace std::chrono_literals;

TEST_F(Channel, ConnectsByReadingTheVersionWithRequestIdZero) {
    ASSERT_EQ(channel.Connect(InTime()), VX_OK);
    ASSERT_EQ(camera.Commands().size(), 1u);
    EXPECT_EQ(camera.Commands()[0].bytes, Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400"));
    EXPECT_EQ(camera.HaltsSet(), 0u);
    EXPECT_EQ(camera.HaltsCleared(kControlOut), 1u);
    EXPECT_EQ(camera.HaltsCleared(kControlIn), 1u);
}

TEST_F(Channel, ConnectsPastLeftOverAcknowledges) {
    camera.OnCommand([](const Command& command) -> Answers {
        if (command.RequestId() != 0) return std::nullopt;
        return std::vector<Bytes>{Ack(0, 0x0801, 99, Hex("FFFFFFFF")), Ack(0, 0x0801, 0, Hex("03000100"))};
    });
    EXPECT_EQ(channel.Connect(InTime()), VX_OK);
}

TEST_F(Channel, CountsRequestIdsUpAndSkipsZero) {
    for (int i = 0; i < 65537; ++i)
        ASSERT_EQ(Read(), VX_OK);
    const auto ids = RequestIds();
    EXPECT_EQ(ids[0], 0);
    EXPECT_EQ(ids[1], 1);
    EXPECT_EQ(ids[65535], 65535);
    EXPECT_EQ(ids[65536], 1);
}

TEST_F(Channel, WaitsOnAfterAPendingAcknowledge) {
    AnswerFirst(1, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0805, command.RequestId(), Hex("0000 C800")),
                                  Ack(0, 0x0805, command.RequestId(), Hex("0000 C800")),
                                  Ack(0, 0x0801, command.RequestId(), Hex("64000000"))};
    });
    std::uint32_t value = 0;
    EXPECT_EQ(Read32(value), VX_OK);
    EXPECT_EQ(value, 100u);
    EXPECT_EQ(Commands(0x1CC), 1u);
}

TEST_F(Channel, EndsAfterPendingForTooLong) {
    ControlTiming timing = Impatient();
    timing.pendingLimit = ControlTiming::Duration(0);
    ControlChannel hasty(*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, timing);
    AnswerFirst(9, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0805, command.RequestId(), Hex("0000 FFFF")),
                                  Ack(0, 0x0801, command.RequestId(), Hex("64000000"))};
    });
    std::uint8_t bytes[4];
    EXPECT_EQ(hasty.Read(0x1CC, bytes, 4, InTime()), VX_E_TIMEOUT);
}

TEST_F(Channel, DropsStaleShortAndForeignPackets) {
    AnswerFirst(1, [](const Command& command) {
        const auto stale = static_cast<std::uint16_t>(command.RequestId() - 1);
        return std::vector<Bytes>{Ack(0, 0x0801, stale, Hex("FF000000")), Hex("55335643 0000"), Bytes(),
                                  Hex("55335645 0000 0108 0400 0000 FF000000"),
                                  Ack(0, 0x0801, command.RequestId(), Hex("64000000"))};
    });
    std::uint32_t value = 0;
    EXPECT_EQ(Read32(value), VX_OK);
    EXPECT_EQ(value, 100u);
}

TEST_F(Channel, IsNotTakenInByEndlessForeignPackets) {
    AnswerFirst(99, [](const Command&) { return std::vector<Bytes>(200, Ack(0, 0x0801, 0xEEEE, Hex("FF000000"))); });
    EXPECT_EQ(Read(), VX_E_TIMEOUT);
}

TEST_F(Channel, CountsForeignPacketsTowardsTheTimeForAnAnswer) {
    FakeClock clock(camera);
    AnswerFirst(1, [&clock](const Command&) {
        clock.Pause(400ms);
        return std::vector<Bytes>{Ack(0, 0x0801, 0xEEEE, Hex("FF000000"))};
    });
    const auto taken = clock.Of([this] { EXPECT_EQ(Read(), VX_OK); });
    EXPECT_GE(taken, 600ms);
    EXPECT_LT(taken, 700ms) << "as if the foreign one had not come";
}

// Accesses are many, and readings of the clock a good part of what the host does for one.
TEST_F(Channel, ReadsTheClockOnceForAnAnswerThatComesAtOnce) {
    class CountingClock final : public Clock {
    public:
        CountingClock() { InjectClock(this); }
        ~CountingClock() override { InjectClock(nullptr); }
        TimePoint Now() const override {
            ++readings;
            return std::chrono::steady_clock::now();
        }
        void Pause(Duration) override {}
        mutable int readings = 0;
    };
    CountingClock clock;
    const Deadline inTime = InTime();
    clock.readings = 0;
    std::uint8_t bytes[4] = {};
    EXPECT_EQ(channel.Read(0x1CC, bytes, sizeof bytes, inTime), VX_OK);
    EXPECT_EQ(clock.readings, 1);
    EXPECT_EQ(channel.Write(0x1CC, {bytes, sizeof bytes}, Repeat::Never, inTime), VX_OK);
    EXPECT_EQ(clock.readings, 2);
}

TEST_F(Channel, AsksABusyCameraAgainWithFreshIds) {
    AnswerFirst(
        2, [](const Command& command) { return std::vector<Bytes>{Ack(0x8007, 0x0803, command.RequestId(), {})}; });
    EXPECT_EQ(Write(Repeat::Never), VX_OK);
    EXPECT_EQ(RequestIds(), (std::vector<std::uint16_t>{0, 1, 2}));
}

TEST_F(Channel, GivesUpOnACameraThatStaysBusy) {
    AnswerFirst(
        99, [](const Command& command) { return std::vector<Bytes>{Ack(0x8007, 0x0801, command.RequestId(), {})}; });
    EXPECT_EQ(Read(), kRefused | 0x8007);
}

TEST_F(Channel, ResynchronisesAfterATimeoutAndReadsAgain) {
    AnswerFirst(1, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 2u);
    EXPECT_EQ(RequestIds(), (std::vector<std::uint16_t>{0, 0, 1})) << "the second is the read of the version";
    EXPECT_EQ(counters.readPipeResets, 1u);
    EXPECT_EQ(counters.writePipeResets, 1u);
}

TEST_F(Channel, ReadsThreeTimesAtMost) {
    AnswerFirst(99, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Read(), VX_E_TIMEOUT);
    EXPECT_EQ(Commands(0x1CC), 3u);
}

TEST_F(Channel, SetsHaltsOnlyWhenClearingDidNotHelp) {
    AnswerFirst(1, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(camera.HaltsSet(), 0u);
    AnswerFirst(2, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(camera.HaltsSet(), 2u);
}

TEST_F(Channel, DoesNotRepeatAWriteThatMayHaveBeenExecuted) {
    AnswerFirst(1, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Write(Repeat::Never), VX_E_TIMEOUT);
    EXPECT_EQ(Commands(0x1CC), 1u);
}

TEST_F(Channel, RepeatsAWriteThatIsSafeToRepeat) {
    AnswerFirst(1, [](const Command&) { return std::vector<Bytes>(); });
    EXPECT_EQ(Write(Repeat::Safe), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 2u);
}

TEST_F(Channel, RepeatsAWriteThatNeverReachedTheCamera) {
    camera.FailNextOut(usb::Result::Pipe);
    EXPECT_EQ(Write(Repeat::Never), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 1u);
}

TEST_F(Channel, RepeatsAWriteThatDidNotArriveWhole) {
    constexpr std::size_t kWhole = 24;
    for (const usb::Result result : {usb::Result::Ok, usb::Result::Timeout}) {
        camera.CutNextOut(kWhole - 1, result);
        EXPECT_EQ(Write(Repeat::Never), VX_OK);
    }
    EXPECT_EQ(Commands(0x1CC), 2u);
    camera.CutNextOut(kWhole, usb::Result::Timeout); // all of it may have arrived
    EXPECT_EQ(Write(Repeat::Never), VX_E_TIMEOUT);
    EXPECT_EQ(Commands(0x1CC), 2u);
}

TEST_F(Channel, FetchesTheAnswerToAWriteWhenTheSystemHasMemoryAgain) {
    camera.FailNextIn(usb::Result::NoMemory);
    EXPECT_EQ(Write(Repeat::Never), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 1u);
    EXPECT_EQ(counters.readPipeResets, 0u);
}

TEST_F(Channel, RecoversFromStallAndOverflow) {
    camera.FailNextIn(usb::Result::Pipe);
    EXPECT_EQ(Read(), VX_OK);
    camera.FailNextIn(usb::Result::Overflow);
    EXPECT_EQ(Read(), VX_OK);
}

TEST_F(Channel, EndsAtOnceWhenTheCameraIsGone) {
    camera.Unplug(/*announce=*/false);
    EXPECT_EQ(Read(), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(channel.Connect(InTime()), VX_E_USB_NO_DEVICE);
    EXPECT_TRUE(camera.Commands().empty());
}

TEST_F(Channel, AcceptsAWriteAcknowledgeThatDoesNotTellTheLength) {
    AnswerFirst(1, [](const Command& command) { return std::vector<Bytes>{Ack(0, 0x0803, command.RequestId(), {})}; });
    EXPECT_EQ(Write(Repeat::Never), VX_OK);
    AnswerFirst(1, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0803, command.RequestId(), Hex("0000 0000"))};
    });
    EXPECT_EQ(Write(Repeat::Never), VX_OK);
}

TEST_F(Channel, RefusesAWriteAcknowledgeForFewerBytes) {
    AnswerFirst(1, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0803, command.RequestId(), Hex("0000 0200"))};
    });
    EXPECT_EQ(Write(Repeat::Never), VX_E_PROTOCOL);
}

TEST_F(Channel, RefusesTheAcknowledgeOfAnotherCommandAndOfAnotherLength) {
    AnswerFirst(3, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0803, command.RequestId(), Hex("00000400"))};
    });
    EXPECT_EQ(Read(), VX_E_PROTOCOL);
    AnswerFirst(3, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0801, command.RequestId(), Hex("640000"))};
    });
    EXPECT_EQ(Read(), VX_E_PROTOCOL);
}

TEST_F(Channel, RefusesATruncatedAcknowledge) {
    AnswerFirst(3, [](const Command& command) {
        Bytes whole = Ack(0, 0x0801, command.RequestId(), Hex("64000000"));
        whole.pop_back();
        return std::vector<Bytes>{whole};
    });
    EXPECT_EQ(Read(), VX_E_PROTOCOL);
}

TEST_F(Channel, PassesOnWhatTheCameraRefuses) {
    std::uint8_t bytes[4];
    EXPECT_EQ(channel.Read(0x999999, bytes, 4, InTime()), kRefused | 0x8003);
    EXPECT_EQ(Commands(0x999999), 1u);
}

TEST_F(Channel, TakesAWarningForSuccess) {
    AnswerFirst(1, [](const Command& command) {
        return std::vector<Bytes>{Ack(0x2001, 0x0801, command.RequestId(), Hex("64000000"))};
    });
    EXPECT_EQ(Read(), VX_OK);
}

TEST_F(Channel, AsksForWholePacketsAndNoMoreThanTheAnswerNeeds) {
    channel.SetLimits(4096, 4096);
    std::uint8_t bytes[2048];
    camera.Set(0x90000, Pattern(2048));
    for (const std::size_t count : {4u, 1012u, 1016u, 2036u})
        ASSERT_EQ(channel.Read(0x90000, bytes, count, InTime()), VX_OK);
    EXPECT_EQ(camera.ControlInSizes(), (std::vector<std::size_t>{1024, 1024, 2048, 2048}));
}

TEST_F(Channel, BelievesPlausibleLimitsOnly) {
    channel.SetLimits(2048, 4096);
    EXPECT_EQ(channel.MaxRead(), 4084u);
    EXPECT_EQ(channel.MaxWrite(), 2028u);
    channel.SetLimits(0, 63);
    EXPECT_EQ(channel.MaxRead(), 1012u);
    EXPECT_EQ(channel.MaxWrite(), 1004u);
    channel.SetLimits(0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(channel.MaxRead(), 65532u);
    EXPECT_EQ(channel.MaxWrite(), 65524u);
}

TEST_F(Channel, WaitsAsLongAsTheCameraStatesWithinLimits) {
    using Duration = ControlTiming::Duration;
    channel.SetResponseTime(50);
    EXPECT_EQ(channel.Timeout(), Duration(600));
    channel.SetResponseTime(2000);
    EXPECT_EQ(channel.Timeout(), Duration(2100));
    channel.SetResponseTime(600000);
    EXPECT_EQ(channel.Timeout(), Duration(5100));
    channel.SetFloor(9000);
    EXPECT_EQ(channel.Timeout(), Duration(9100));
}

TEST_F(Channel, IsPatientWhileAStreamKeepsTheLinkBusy) {
    using Duration = ControlTiming::Duration;
    channel.StreamStarts();
    EXPECT_EQ(channel.Timeout(), Duration(2100));
    channel.SetResponseTime(3000);
    EXPECT_EQ(channel.Timeout(), Duration(3100));
    channel.SetResponseTime(0);
    channel.StreamEnds();
    EXPECT_EQ(channel.Timeout(), Duration(600));
}

/// A user set that is stored takes seconds, with no pending acknowledge from some cameras.
TEST_F(Channel, IsMorePatientWithWhatCannotBeAskedForAgain) {
    ASSERT_EQ(Write(Repeat::Never), VX_OK);
    ASSERT_EQ(Write(Repeat::Safe), VX_OK);
    ASSERT_EQ(Read(), VX_OK);
    EXPECT_EQ(camera.ControlInTimeouts(), (std::vector<unsigned int>{3000, 600, 600}));
}

TEST_F(Channel, ConnectsToACameraThatAnswersButRefusesToHaveItsHaltsCleared) {
    for (const usb::Result result : {usb::Result::Pipe, usb::Result::Io, usb::Result::Timeout}) {
        camera.RefuseClearing(result);
        EXPECT_EQ(channel.Connect(InTime()), VX_OK);
    }
    EXPECT_EQ(camera.Resets(), 0u);
}

} // namespace
