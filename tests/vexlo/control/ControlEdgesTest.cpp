// Where the limits of the control channel begin and end.
#include "vexlo/control/RegisterAccess.h"
#include "vexlo/support/ControlChannelFixture.h"
#include "vexlo/support/FakeClock.h"

#include <utility>

namespace {

using namespace vexlotest;
using namespace std::chrono_literals;

Bytes Foreign() {
    return Ack(0, 0x0801, 0xEEEE, Hex("FF000000"));
}
Bytes Pending(const Command& command, const char* milliseconds) {
    return Ack(0, 0x0805, command.RequestId(), Hex("0000") + Hex(milliseconds));
}
Bytes Answer(const Command& command) {
    return Ack(0, 0x0801, command.RequestId(), Hex("64000000"));
}

TEST_F(Channel, FindsItsAnswerBehindSixtyThreeForeignPackets) {
    AnswerFirst(1, [](const Command& command) {
        std::vector<Bytes> packets(63, Foreign());
        packets.push_back(Answer(command));
        return packets;
    });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 1u);
}

TEST_F(Channel, WaitsOnHoweverOftenTheCameraIsPending) {
    AnswerFirst(1, [](const Command& command) {
        std::vector<Bytes> packets(100, Pending(command, "C800"));
        packets.push_back(Answer(command));
        return packets;
    });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(Commands(0x1CC), 1u);
}

TEST_F(Channel, WaitsAsLongAsAPendingAcknowledgeAsksAndNoShorterThanForAnAnswer) {
    FakeClock clock(camera);
    AnswerFirst(1, [](const Command& command) {
        return std::vector<Bytes>{Pending(command, "E803"), Pending(command, "0000"), Answer(command)};
    });
    EXPECT_EQ(Read(), VX_OK);
    EXPECT_EQ(camera.ControlInTimeouts(), (std::vector<unsigned int>{600, 1100, 600}));
}

TEST_F(Channel, RefusesAWriteAcknowledgeThatIsCutShort) {
    AnswerFirst(1, [](const Command& command) {
        Bytes cut = Ack(0, 0x0803, command.RequestId(), Hex("00000400"));
        cut.resize(cut.size() - 2);
        return std::vector<Bytes>{cut};
    });
    EXPECT_EQ(Write(Repeat::Never), VX_E_PROTOCOL);
}

TEST_F(Channel, RefusesAnAcknowledgeWithMoreDataThanWasAskedFor) {
    AnswerFirst(3, [](const Command& command) {
        return std::vector<Bytes>{Ack(0, 0x0801, command.RequestId(), Hex("6400000000000000"))};
    });
    EXPECT_EQ(Read(), VX_E_PROTOCOL);
}

TEST_F(Channel, BelievesLimitsFromSixtyFourBytesOn) {
    channel.SetLimits(64, 64);
    EXPECT_EQ(channel.MaxRead(), 52u);
    EXPECT_EQ(channel.MaxWrite(), 44u);
    ControlChannel narrow(*handle, {kControlOut, 32}, {kControlIn, 32}, counters, Impatient());
    EXPECT_EQ(narrow.MaxRead(), 52u);
    EXPECT_EQ(narrow.MaxWrite(), 44u);
}

TEST_F(Channel, SendsNothingThatIsLongerThanItsLimits) {
    channel.SetLimits(66, 66);
    camera.Set(0x90000, Pattern(64));
    std::uint8_t bytes[64];
    EXPECT_EQ(channel.Read(0x90000, bytes, 53, InTime()), VX_E_INVALID_SIZE);
    EXPECT_EQ(channel.Write(0x90000, Pattern(45), Repeat::Safe, InTime()), VX_E_INVALID_SIZE);
    EXPECT_TRUE(camera.Commands().empty());
    EXPECT_EQ(channel.Read(0x90000, bytes, 52, InTime()), VX_OK);
    EXPECT_EQ(channel.Write(0x90000, Pattern(44), Repeat::Safe, InTime()), VX_OK);
}

TEST_F(Channel, SendsNothingWhenItsTimeIsOver) {
    std::uint8_t bytes[4];
    EXPECT_EQ(channel.Read(0x1CC, bytes, sizeof bytes, Deadline(0ms)), VX_E_TIMEOUT);
    EXPECT_TRUE(camera.Commands().empty());
}

TEST_F(Channel, IsGoneWhenItsAnswerIsAwaitedInVainAndTheCameraHasLeft) {
    AnswerFirst(1, [](const Command&) { return std::vector<Bytes>{}; });
    camera.RefuseClearing(usb::Result::NoDevice);
    EXPECT_EQ(Write(Repeat::Never), VX_E_USB_NO_DEVICE);
}

TEST_F(Channel, LeavesTimeForTheLongestWrite) {
    FakeClock clock(camera);
    EXPECT_EQ(channel.WholeAccess().Left(), 30000ms);
    channel.SetLastingFloor(60000);
    EXPECT_EQ(channel.WholeAccess().Left(), 60600ms);
}

/// A camera that answers nothing.
class Tries : public Channel {
protected:
    Tries() { Silence(); }
    void Silence() {
        camera.OnCommand([](const Command&) -> Answers { return std::vector<Bytes>{}; });
    }
    Clock::Duration TimeOfRead() {
        return clock.Of([this] { EXPECT_EQ(Read(), VX_E_TIMEOUT); });
    }

    FakeClock clock{camera};
};

TEST_F(Tries, AreThree) {
    TimeOfRead();
    EXPECT_EQ(Commands(0x1CC), 3u);
}

TEST_F(Tries, GiveASlowCameraTheTimeThatItStates) {
    channel.SetResponseTime(5000);
    TimeOfRead();
    EXPECT_EQ(camera.ControlInTimeouts().front(), 5100u);
}

TEST_F(Tries, AreNoMoreWhenTheTimeIsOver) {
    std::uint8_t bytes[4];
    EXPECT_EQ(channel.Read(0x1CC, bytes, sizeof bytes, Deadline(1300ms)), VX_E_TIMEOUT);
    EXPECT_EQ(Commands(0x1CC), 2u);
    EXPECT_EQ(Commands(0), 1u) << "nor is the camera asked whether it is there";
}

TEST_F(Tries, AreAsManyAsAtFirstOnceTheCameraHasAnswered) {
    const auto first = TimeOfRead();
    EXPECT_LT(TimeOfRead(), first) << "of a camera that is known to be silent";
    camera.OnCommand(nullptr);
    EXPECT_EQ(Read(), VX_OK);
    Silence();
    EXPECT_EQ(TimeOfRead(), first);
}

TEST_F(Channel, TriesABusyCameraNoMoreWhenTheTimeIsOver) {
    FakeClock clock(camera);
    AnswerFirst(99, [&clock](const Command& command) {
        clock.Pause(20ms);
        return std::vector<Bytes>{Ack(0x8007, 0x0801, command.RequestId(), {})};
    });
    std::uint8_t bytes[4];
    EXPECT_EQ(channel.Read(0x1CC, bytes, sizeof bytes, Deadline(50ms)), kRefused | 0x8007);
    EXPECT_EQ(Commands(0x1CC), 3u);
}

/// Channels that wait for a camera.
class Connecting : public Channel {
protected:
    static ControlTiming Waiting() {
        ControlTiming timing;
        timing.busyPause = 10ms;
        timing.drain = 0ms;
        timing.connectLimit = timing.resetLimit = 60s;
        return timing;
    }
    ControlChannel Patient() { return {*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, Waiting()}; }
    void AnswerAfter(unsigned int commands) {
        camera.OnCommand([commands](const Command&) mutable -> Answers {
            if (commands-- == 0) return std::nullopt;
            return std::vector<Bytes>{};
        });
    }

    FakeClock clock{camera};
};

TEST_F(Connecting, SetsHaltsAtTheSecondOfEightAttempts) {
    ControlChannel first = Patient();
    AnswerAfter(8);
    EXPECT_EQ(first.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.HaltsSet(), 2u);
    ControlChannel second = Patient();
    AnswerAfter(9);
    EXPECT_EQ(second.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.HaltsSet(), 2u + 4u);
}

TEST_F(Connecting, WaitsHalfASecondForACameraThatRefuses) {
    ControlChannel patient = Patient();
    camera.OnCommand([](const Command& command) -> Answers {
        return std::vector<Bytes>{Ack(0x8006, 0x0801, command.RequestId(), {})};
    });
    const auto taken = clock.Of([&] { EXPECT_EQ(patient.Connect(InTime()), kRefused | 0x8006); });
    EXPECT_GE(taken, 500ms);
    EXPECT_LT(taken, 600ms);
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Connecting, WaitsForACameraThatWasResetThoughItWasKnownToBeSilent) {
    ControlTiming timing = Waiting();
    timing.isBrief = true;
    timing.connectLimit = 0ms;
    ControlChannel brief(*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, timing);
    camera.OnCommand([](const Command&) -> Answers { return std::vector<Bytes>{}; });
    camera.OnReset([this] {
        AnswerAfter(3);
        return usb::Result::Ok;
    });
    EXPECT_EQ(brief.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Connecting, DropsSixteenAcknowledgesOfAPredecessor) {
    AnswerFirst(1, [](const Command& command) {
        std::vector<Bytes> packets(17, Ack(0x8FFF, 0x0801, 0, {}));
        packets.front() = Answer(command);
        return packets;
    });
    ASSERT_EQ(Read(), VX_OK);
    ControlChannel successor = Patient();
    EXPECT_EQ(successor.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.Commands().size(), 2u);
}

/// Reads and writes through the channel, of any length.
class AccessEdges : public Channel {
protected:
    VxStatus ReadAll(Bytes& bytes) { return access.Read(0x90000, bytes.data(), bytes.size(), done); }
    /// The camera takes no reads of more.
    void RefuseBeyond(std::size_t most, std::uint16_t status) {
        camera.OnCommand([=](const Command& command) -> Answers {
            if (command.Count() <= most) return std::nullopt;
            return std::vector<Bytes>{Ack(status, 0x0801, command.RequestId(), {})};
        });
    }

    RegisterAccess access{channel};
    std::size_t done = 0;
};

TEST_F(AccessEdges, ReadsInPiecesOfAStringWhereTheCameraGivesNoMore) {
    for (const std::uint16_t status : {0x8002, 0x8003, 0x8005}) {
        camera.Set(0x90000, Pattern(900, status));
        RefuseBeyond(64, status);
        Bytes read(900);
        EXPECT_EQ(ReadAll(read), VX_OK) << std::hex << status;
        EXPECT_EQ(read, Pattern(900, status));
    }
}

TEST_F(AccessEdges, HalvesNoStringAndNothingThatIsRefusedForAnotherReason) {
    camera.Set(0x90000, Pattern(900));
    RefuseBeyond(63, 0x8002);
    Bytes read(900);
    EXPECT_EQ(ReadAll(read), kRefused | 0x8002);
    EXPECT_EQ(camera.Commands().back().Count(), 64u);
    RefuseBeyond(64, 0x8006);
    EXPECT_EQ(ReadAll(read), kRefused | 0x8006);
    EXPECT_EQ(camera.Commands().back().Count(), 900u);
}

TEST_F(AccessEdges, HalvesToWholeRegistersOfEightBytes) {
    camera.Set(0x90000, Pattern(300));
    RefuseBeyond(150, 0x8002);
    Bytes read(300);
    EXPECT_EQ(ReadAll(read), VX_OK);
    for (const Command& command : camera.Commands())
        EXPECT_EQ(command.Address() % 8, 0u);
}

TEST_F(AccessEdges, ReadsAroundWhatJustFitsAnAcknowledge) {
    channel.SetLimits(64, 64);
    const Bytes held = Pattern(56);
    camera.Set(0x90000, held);
    camera.OnCommand([](const Command& command) -> Answers {
        if (command.Address() % 4 == 0 && command.Count() % 4 == 0) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8005, 0x0801, command.RequestId(), {})};
    });
    Bytes read(50);
    EXPECT_EQ(access.Read(0x90001, read.data(), read.size(), done), VX_OK);
    EXPECT_EQ(read, Bytes(held.begin() + 1, held.begin() + 51));
}

TEST_F(AccessEdges, WritesAgainInPiecesThatCanBeReadAndWritten) {
    camera.Set(0x90000, Bytes(200));
    for (const auto& [command, acknowledge] : {std::pair(64u, 128u), std::pair(128u, 64u)}) {
        channel.SetLimits(command, acknowledge);
        EXPECT_EQ(access.Rewrite(0x90000, Pattern(200, command)), VX_OK);
        EXPECT_EQ(camera.Remember().at(0x90000 + 199), Pattern(200, command).back());
    }
}

TEST_F(AccessEdges, WritesAgainWhatTheCameraDoesNotTell) {
    camera.Set(0x90000, Bytes(4));
    camera.OnCommand([](const Command& command) -> Answers {
        if (command.Id() != 0x0800) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8006, 0x0801, command.RequestId(), {})};
    });
    EXPECT_EQ(access.Rewrite(0x90000, Hex("11223344")), VX_OK);
    EXPECT_EQ(camera.Get32(0x90000), 0x44332211u);
}

} // namespace
