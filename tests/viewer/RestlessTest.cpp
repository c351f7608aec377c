#include "viewer/room/Restless.h"

#include <gtest/gtest.h>

namespace {

using viewer::Restless;
using namespace std::chrono_literals;

constexpr Restless::Clock::time_point kNow{1h};

TEST(Restless, IsWhatChangesWhileNobodySetsAnything) {
    Restless restless;
    EXPECT_FALSE(restless.Is("CounterValue", kNow));
    restless.NoteChange("CounterValue", kNow);
    EXPECT_TRUE(restless.Is("CounterValue", kNow));
    EXPECT_FALSE(restless.Is("Gain", kNow));
}

TEST(Restless, IsNotTheLateEffectOfASetting) {
    Restless restless;
    restless.NoteSetting(kNow);
    restless.NoteChange("ResultingFrameRate", kNow + 900ms);
    EXPECT_FALSE(restless.Is("ResultingFrameRate", kNow + 900ms));
    restless.NoteChange("CounterValue", kNow + 1s);
    EXPECT_TRUE(restless.Is("CounterValue", kNow + 1s));
}

TEST(Restless, IsForgottenWhenItStandsStill) {
    Restless restless;
    restless.NoteChange("ExposureTime", kNow);
    EXPECT_TRUE(restless.Is("ExposureTime", kNow + 59s));
    EXPECT_FALSE(restless.Is("ExposureTime", kNow + 60s));
}

} // namespace
