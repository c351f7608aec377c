// What is waited for where there is nothing to be told: the tries that would otherwise follow each other at once.
#include "vexlo/support/ControlChannelFixture.h"
#include "vexlo/support/FakeClock.h"

namespace {

using namespace vexlotest;
using namespace std::chrono_literals;

class Pauses : public Channel {
protected:
    static ControlTiming Patient() {
        ControlTiming timing = Impatient();
        timing.busyPause = 7ms;
        return timing;
    }

    FakeClock clock{camera};
    ControlChannel patient{*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, Patient()};
    std::uint8_t bytes[4] = {};
};

TEST_F(Pauses, ComeBeforeEachRepeatToABusyCamera) {
    AnswerFirst(
        3, [](const Command& command) { return std::vector<Bytes>{Ack(0x8007, 0x0801, command.RequestId(), {})}; });
    EXPECT_EQ(clock.Of([&] { EXPECT_EQ(patient.Read(0x1CC, bytes, sizeof bytes, InTime()), VX_OK); }), 3 * 7ms);
}

TEST_F(Pauses, AreTenAtMostForACameraThatStaysBusy) {
    AnswerFirst(
        99, [](const Command& command) { return std::vector<Bytes>{Ack(0x8007, 0x0801, command.RequestId(), {})}; });
    EXPECT_EQ(clock.Of([&] { EXPECT_EQ(patient.Read(0x1CC, bytes, sizeof bytes, InTime()), kRefused | 0x8007); }),
              10 * 7ms);
    EXPECT_EQ(Commands(0x1CC), 11u);
}

TEST_F(Pauses, GiveTheSystemTimeToFindMemoryForAnAnswer) {
    camera.FailNextIn(usb::Result::NoMemory);
    EXPECT_EQ(clock.Of([&] { EXPECT_EQ(patient.Read(0x1CC, bytes, sizeof bytes, InTime()), VX_OK); }), 7ms);
}

TEST_F(Pauses, AreNotMadeForACameraThatAnswers) {
    EXPECT_EQ(clock.Of([&] { EXPECT_EQ(patient.Read(0x1CC, bytes, sizeof bytes, InTime()), VX_OK); }), 0ms);
}

} // namespace
