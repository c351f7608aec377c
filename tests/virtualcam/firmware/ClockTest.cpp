// The camera's clock, which need not go as this computer's does.

#include "virtualcam/firmware/Clock.h"

#include <gtest/gtest.h>

#include "virtualcam/support/CameraFixture.h"

namespace {

using namespace std::chrono_literals;
using namespace virtualcam::test;
using virtualcam::Bytes;
using virtualcam::Clock;
using virtualcam::ClockSettings;

// Nanoseconds that pass on a clock in `span` of this computer's.
std::int64_t Passed(const Clock& clock, std::chrono::seconds span) {
    const auto begin = Clock::Now();
    return static_cast<std::int64_t>(clock.Nanoseconds(begin + span) - clock.Nanoseconds(begin));
}

TEST(Clock, GoesAsThisComputersDoes) {
    EXPECT_EQ(Passed(Clock(), 1000s), 1000'000'000'000);
}

TEST(Clock, GainsAndLosesWhatItIsTold) {
    ClockSettings settings;
    settings.driftPpm = 50;
    EXPECT_NEAR(static_cast<double>(Passed(Clock(settings), 1000s)), 1000.05e9, 2);
    settings.driftPpm = -200;
    EXPECT_NEAR(static_cast<double>(Passed(Clock(settings), 1000s)), 999.8e9, 2);
}

TEST(Clock, JumpsOnceWhenItIsTimeTo) {
    ClockSettings settings;
    settings.jumpAfterMs = 500000;
    settings.jumpByMs = -250;
    const Clock clock(settings);
    EXPECT_EQ(Passed(clock, 499s), 499'000'000'000);
    EXPECT_EQ(Passed(clock, 501s), 500'750'000'000);
    EXPECT_EQ(Passed(clock, 1000s), 999'750'000'000);
}

TEST(Clock, NeverGoesBackToBeforeItsBeginning) {
    Clock clock;
    clock.Jump(-1h);
    EXPECT_EQ(clock.Nanoseconds(), 1u);
}

struct CameraClock : CameraTest {
    std::uint64_t Latch() {
        EXPECT_EQ(client.Write32(0x1F8, 1), 0);
        return client.Read(0x1F0, 8);
    }
};

TEST_F(CameraClock, IsTheOneThatIsLatched) {
    const std::uint64_t before = Latch();
    device.JumpClock(1h);
    const std::uint64_t after = Latch();
    EXPECT_GE(after, before + 3600'000'000'000);
    EXPECT_LT(after, before + 7200'000'000'000);
}

TEST_F(CameraClock, IsTheOneOfTheFrames) {
    device.JumpClock(2h);
    StartStream();
    stream.StartAcquisition();
    const std::uint64_t before = stream.Read().Timestamp();
    EXPECT_GE(before, 7200'000'000'000u);
    device.JumpClock(-1h);
    (void)stream.Read(); // it may have waited since before
    EXPECT_LT(stream.Read().Timestamp(), before);
}

} // namespace
