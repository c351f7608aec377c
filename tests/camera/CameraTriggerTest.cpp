#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <thread>

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

TEST(Trigger, IsNotGivenToACameraWhoseImagesNobodyTakes) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    std::uint64_t fired = 0;
    for (; fired < 200 && camera.AwaitTrigger(500ms); ++fired)
        camera.FireTrigger();
    EXPECT_LT(fired, 200U);
    for (std::uint64_t i = 0; i < fired; ++i)
        ASSERT_EQ(stream.Next().BlockId(), i);
    EXPECT_EQ(stream.Counts().missed, 0U);
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

TEST(Trigger, WaitsForTheStatusOfItsTriggerWhicheverIsSelected) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    for (const char* status : {"AcquisitionActive", "FrameTriggerWait"}) {
        camera["AcquisitionStatusSelector"] = status;
        while (!camera.AwaitTrigger(1s)) {
        }
        EXPECT_EQ(camera["AcquisitionStatusSelector"].Text(), "FrameTriggerWait") << status;
    }
}

TEST(Trigger, IsFiredWithoutWaitingForItToBeDone) {
    VirtualBus bus(R"([{"sensorWidth": 64, "sensorHeight": 64,
                        "registers": {"endlessCommands": [1057056, 1057088, 1057120]}}])"); // TriggerSoftware
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    while (!camera.AwaitTrigger(1ms)) {
    }
    camera.FireTrigger();
    EXPECT_FALSE(camera["TriggerSoftware"].AwaitDone(1ms));
    EXPECT_TRUE(stream.Next()) << "it is taken all the same";
}

TEST(Trigger, IsNotWaitedForWhenTheCameraIsClosed) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    std::thread other([&] { ErrorOf<Tavix::StateError>([&] { camera.Trigger(10min); }); }); // it does not stream
    camera.Close();
    other.join();
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

TEST(GrabOne, TakesTimesThatAreBeyondTheClockOrForEver) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    for (const std::chrono::milliseconds time : {std::chrono::milliseconds::max(), std::chrono::milliseconds(-1)}) {
        EXPECT_TRUE(camera.GrabOne(time));
        camera["TriggerSource"] = "Software";
        camera["TriggerMode"] = "On";
        EXPECT_TRUE(camera.GrabOne(time));
        camera["TriggerMode"] = "Off";
    }
}

TEST(Trigger, TakesTimesThatAreBeyondTheClockOrForEver) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    for (const std::chrono::milliseconds time : {std::chrono::milliseconds::max(), std::chrono::milliseconds(-1)}) {
        camera.Trigger(time); // at once after the image before, and so too early
        EXPECT_TRUE(stream.Wait(time));
    }
    camera["TriggerSoftware"].Execute(std::chrono::milliseconds::max());
}

} // namespace
