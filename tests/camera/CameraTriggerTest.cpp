#include "camera/CameraTest.h"

#include <gmock/gmock.h>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(Trigger, MakesOneImageEachAndLosesNone) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    for (std::uint64_t i = 0; i < 20; ++i) { // each at once after the image before, and so too early for a frame
        camera.Trigger();
        EXPECT_EQ(stream.Next().BlockId(), i);
    }
    EXPECT_FALSE(stream.Wait(1ms));
}

TEST(Trigger, IsRefusedUnlessTheCameraWaitsForIt) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    EXPECT_THAT(ErrorOf<Tavix::AccessError>([&] { camera.Trigger(); }), HasSubstr("TriggerMode"));
}

TEST(Trigger, TimesOutForACameraThatIsNotReady) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    EXPECT_THAT(ErrorOf<Tavix::Timeout>([&] { camera.Trigger(1ms); }), HasSubstr("not ready")); // it does not stream
}

TEST(GrabOne, IsAFreeImageOrATriggeredOne) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    EXPECT_TRUE(camera.GrabOne().IsWhole());
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    EXPECT_TRUE(camera.GrabOne().IsWhole());
    EXPECT_TRUE(camera.GrabOne().IsWhole());
}

TEST(GrabOne, TimesOutWhenNobodyTriggers) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Line1";
    camera["TriggerMode"] = "On";
    EXPECT_THAT(ErrorOf<Tavix::Timeout>([&] { camera.GrabOne(10ms); }), HasSubstr("10 ms"));
}

} // namespace
