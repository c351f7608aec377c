#include "virtualcam/device/Presence.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using virtualcam::Presence;
using virtualcam::TimePoint;

constexpr TimePoint kStart{};
constexpr TimePoint At(int ms) {
    return kStart + milliseconds(ms);
}

TEST(Presence, WaitsForNothingAtFirst) {
    const Presence presence;
    EXPECT_FALSE(presence.Deadline());
    EXPECT_FALSE(presence.IsLeaving());
    EXPECT_FALSE(presence.IsReturnDue(At(0)) || presence.IsLeavingDue(At(0)) || presence.IsRestartDue(At(0)));
}

TEST(Presence, ReturnsAtItsTimeUnlessItIsToStayAway) {
    Presence presence;
    presence.Left(At(5));
    EXPECT_EQ(presence.Deadline(), At(5));
    EXPECT_FALSE(presence.IsReturnDue(At(4)));
    EXPECT_TRUE(presence.IsReturnDue(At(5)));
    EXPECT_TRUE(presence.IsReturnDue(At(6))) << "until it has come";
    presence.Came();
    EXPECT_FALSE(presence.IsReturnDue(At(6)));
    presence.Left(At(9));
    presence.StayAway();
    EXPECT_FALSE(presence.Deadline());
}

TEST(Presence, IsLeavingUntilItHasLeft) {
    Presence presence;
    presence.LeaveAt(At(7));
    EXPECT_TRUE(presence.IsLeaving());
    EXPECT_FALSE(presence.IsLeavingDue(At(6)));
    EXPECT_TRUE(presence.IsLeavingDue(At(7)));
    presence.Left(std::nullopt);
    EXPECT_FALSE(presence.IsLeaving());
    EXPECT_FALSE(presence.Deadline());
}

TEST(Presence, ForgetsARestartWhenItLeavesBefore) {
    Presence presence;
    presence.RestartAt(At(3));
    EXPECT_TRUE(presence.IsRestartDue(At(3)));
    presence.LeaveAt(At(2));
    EXPECT_EQ(presence.Deadline(), At(2)) << "the earliest of them";
    presence.Left(At(8));
    EXPECT_FALSE(presence.IsRestartDue(At(3)));
    EXPECT_EQ(presence.Deadline(), At(8));
}

} // namespace
