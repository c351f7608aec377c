#include "tools/tavix/cameras/CameraWatch.h"

#include <gtest/gtest.h>

namespace {

Tavix::CameraInfo Camera(const char* serial, const char* path) {
    Tavix::CameraInfo info;
    info.serial = serial;
    info.path = path;
    return info;
}

TEST(CameraList, TakesTheFirstListForArrivals) {
    tool::CameraWatch watch;
    const auto changes = watch.Update({Camera("1", "a"), Camera("2", "b")});
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_TRUE(changes[0].isArrival);
    EXPECT_EQ(changes[1].info.serial, "2");
    EXPECT_TRUE(watch.Update({Camera("2", "b"), Camera("1", "a")}).empty());
}

TEST(CameraList, TellsWhatHasGone) {
    tool::CameraWatch watch;
    watch.Update({Camera("1", "a"), Camera("2", "b")});
    const auto changes = watch.Update({Camera("2", "b")});
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_FALSE(changes[0].isArrival);
    EXPECT_EQ(changes[0].info.serial, "1");
}

TEST(CameraList, TellsOfACameraAtAnotherPortThatItWentAndCame) {
    tool::CameraWatch watch;
    watch.Update({Camera("1", "a")});
    const auto changes = watch.Update({Camera("1", "b")});
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_FALSE(changes[0].isArrival);
    EXPECT_TRUE(changes[1].isArrival);
}

TEST(CameraList, TellsOfAnotherCameraAtTheSamePort) {
    tool::CameraWatch watch;
    watch.Update({Camera("1", "a")});
    EXPECT_EQ(watch.Update({Camera("2", "a")}).size(), 2u);
}

} // namespace
