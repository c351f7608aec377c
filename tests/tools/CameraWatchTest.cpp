#include "tools/tavix/cameras/CameraWatch.h"

#include <gtest/gtest.h>

namespace {

Tavix::CDeviceInfo Camera(const char* serial, const char* path) {
    Tavix::CDeviceInfo info;
    info.SetSerialNumber(serial).SetFullName(path);
    return info;
}

Tavix::DeviceInfoList List(std::initializer_list<Tavix::CDeviceInfo> infos) {
    Tavix::DeviceInfoList list;
    for (const auto& info : infos)
        list.push_back(info);
    return list;
}

TEST(CameraWatch, TakesTheFirstListForArrivals) {
    tool::CameraWatch watch;
    const auto changes = watch.Update(List({Camera("1", "a"), Camera("2", "b")}));
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_TRUE(changes[0].isArrival);
    EXPECT_EQ(changes[1].info.GetSerialNumber(), "2");
    EXPECT_TRUE(watch.Update(List({Camera("2", "b"), Camera("1", "a")})).empty());
}

TEST(CameraWatch, TellsWhatHasGone) {
    tool::CameraWatch watch;
    watch.Update(List({Camera("1", "a"), Camera("2", "b")}));
    const auto changes = watch.Update(List({Camera("2", "b")}));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_FALSE(changes[0].isArrival);
    EXPECT_EQ(changes[0].info.GetSerialNumber(), "1");
}

TEST(CameraWatch, TellsOfACameraAtAnotherPortThatItWentAndCame) {
    tool::CameraWatch watch;
    watch.Update(List({Camera("1", "a")}));
    const auto changes = watch.Update(List({Camera("1", "b")}));
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_FALSE(changes[0].isArrival);
    EXPECT_TRUE(changes[1].isArrival);
}

TEST(CameraWatch, TellsOfAnotherCameraAtTheSamePort) {
    tool::CameraWatch watch;
    watch.Update(List({Camera("1", "a")}));
    EXPECT_EQ(watch.Update(List({Camera("2", "a")})).size(), 2u);
}

} // namespace
