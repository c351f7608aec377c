#include "virtualcam/backend/Bench.h"

#include "virtualcam/backend/Backend.h"

#include <gtest/gtest.h>

namespace {

using namespace virtualcam;

std::string Ask(Backend& bus, const std::string& request) {
    std::string answer;
    EXPECT_TRUE(Obey(bus, request, answer)) << answer;
    return answer;
}

std::string Refusal(Backend& bus, const std::string& request) {
    std::string answer;
    EXPECT_FALSE(Obey(bus, request, answer));
    return answer;
}

std::size_t Count(Backend& bus) {
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(usb::Result::Ok, bus.Enumerate(devices));
    return devices.size();
}

TEST(VirtualBench, AddsCamerasWithNamesOfTheirOwn) {
    Backend bus(BackendSettings{});
    EXPECT_EQ(R"({"guid":"120940000001"})", Ask(bus, R"({"add": {}})"));
    EXPECT_EQ(R"({"guid":"120940000002"})", Ask(bus, R"({"add": {"sensorWidth": 640}})"));
    EXPECT_EQ(2u, Count(bus));
    EXPECT_EQ(640u, bus.Camera(1).Settings().sensorWidth);
}

TEST(VirtualBench, PlugsEachCameraIntoAPortOfItsOwn) {
    BackendSettings settings;
    settings.cameras.resize(1);
    Backend bus(settings);
    Ask(bus, R"({"add": {}})");
    Ask(bus, R"({"add": {}})");
    std::vector<usb::DeviceEntry> devices;
    ASSERT_EQ(usb::Result::Ok, bus.Enumerate(devices));
    ASSERT_EQ(3u, devices.size());
    for (std::uint8_t i = 0; i < 3; ++i)
        EXPECT_EQ(std::vector<std::uint8_t>{static_cast<std::uint8_t>(i + 1)}, devices[i].ports);
}

TEST(VirtualBench, TellsOfAnAddedCameraAsOfOneThatIsPluggedIn) {
    std::mutex lock;
    std::condition_variable changed;
    bool hasArrived = false;
    Backend bus(BackendSettings{});
    bus.RegisterHotplug([&](usb::HotplugEvent event, const std::string&) {
        const std::lock_guard<std::mutex> guard(lock);
        hasArrived = event == usb::HotplugEvent::Arrived;
        changed.notify_all();
    });
    Ask(bus, R"({"add": {}})");
    std::unique_lock<std::mutex> guard(lock);
    EXPECT_TRUE(changed.wait_for(guard, std::chrono::seconds(60), [&] { return hasArrived; }));
}

TEST(VirtualBench, UnplugsAndPlugs) {
    Backend bus(BackendSettings{});
    Ask(bus, R"({"add": {"guid": "120900000007"}})");
    Ask(bus, R"({"unplug": "120900000007"})");
    EXPECT_EQ(0u, Count(bus));
    Ask(bus, R"({"plug": "120900000007"})");
    EXPECT_EQ(1u, Count(bus));
}

TEST(VirtualBench, ListsTheFaultsThatItTakes) {
    Backend bus(BackendSettings{});
    Ask(bus, R"({"add": {}})");
    EXPECT_NE(std::string::npos, Ask(bus, R"({"list": true})").find("\"LostTrailer\""));
    Ask(bus, R"({"guid": "120940000001", "faults": {"stream": [{"fault": "LostTrailer", "count": 2}]}})");
    Ask(bus, R"({"guid": "120940000001", "faults": {}})");
}

TEST(VirtualBench, RefusesInWords) {
    Backend bus(BackendSettings{});
    EXPECT_NE(std::string::npos, Refusal(bus, "nonsense").find("parse error"));
    EXPECT_EQ("an object {...} is expected", Refusal(bus, "[1]"));
    EXPECT_EQ("this is none of add, unplug, plug, faults, list", Refusal(bus, "{}"));
    EXPECT_EQ("there is no virtual camera \"x\"", Refusal(bus, R"({"unplug": "x"})"));
    EXPECT_NE(std::string::npos, Refusal(bus, R"({"add": {"sensorWidth": 65}})").find("sensorWidth"));
    EXPECT_EQ(0u, Count(bus));
}

TEST(VirtualBench, AddsNoMoreCamerasThanABusHasPorts) {
    Backend bus(BackendSettings{});
    for (int i = 0; i < 32; ++i)
        Ask(bus, R"({"add": {"plugged": false}})");
    EXPECT_EQ("there may be at most 32 virtual cameras", Refusal(bus, R"({"add": {}})"));
}

} // namespace
