#include "camera/CameraTest.h"

#include <GenApi/NodeCallback.h>

#include <algorithm>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;

TEST(HostTime, IsTheSameMomentForEachImageWithinItsBound) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    // The camera's clock counts the host's nanoseconds from a moment that is not known here.
    std::chrono::nanoseconds lowest = std::chrono::nanoseconds::min(), highest = std::chrono::nanoseconds::max();
    for (const Tavix::Image& image : camera.Grab(100)) {
        const Tavix::HostTime time = image.Time();
        ASSERT_TRUE(time.IsKnown());
        EXPECT_LE(time.monotonic - time.bound, image.Arrival());
        const auto begin = time.monotonic.time_since_epoch() - std::chrono::nanoseconds(image.CameraTime());
        lowest = std::max(lowest, begin - time.bound);
        highest = std::min(highest, begin + time.bound);
    }
    EXPECT_LE(lowest, highest) << "no beginning agrees with all bounds";
}

TEST(HostTime, IsToldOnBothClocks) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    const Tavix::HostTime time = camera.GrabOne().Time();
    const auto monotonicAge = std::chrono::steady_clock::now() - time.monotonic;
    const auto realAge = std::chrono::system_clock::now() - time.real;
    EXPECT_LT(std::chrono::abs(monotonicAge - realAge), 1s);
}

TEST(HostTime, IsToldForAnyMomentOfTheCamera) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    const auto before = std::chrono::steady_clock::now();
    camera["TimestampLatch"].Execute();
    const auto after = std::chrono::steady_clock::now();
    const auto time = camera.ToHostTime(static_cast<std::uint64_t>(camera["TimestampLatchValue"].Int()));
    ASSERT_TRUE(time.IsKnown());
    EXPECT_GE(time.monotonic + time.bound, before);
    EXPECT_LE(time.monotonic - time.bound, after);
}

// What follows a line rests on its beginning, so that is not left to the first few tries that agree.
TEST(HostTime, BeginsWithNineReadingsOfTheCamerasClock) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    int latches = 0;
    const auto handle = GenApi::Register(
        camera.Nodes().GetNode("TimestampLatch"), [&](GenApi::INode*) { ++latches; }, GenApi::cbPostOutsideLock);
    ASSERT_TRUE(camera.ToHostTime(1).IsKnown());
    GenApi::Deregister(handle);
    EXPECT_EQ(latches, 9);
}

} // namespace
