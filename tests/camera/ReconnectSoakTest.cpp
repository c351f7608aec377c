// Unplugging at random moments. TAVIX_SOAK_UNPLUGS says how often; a few times otherwise.

#include "camera/CameraTest.h"

#include <cstdlib>
#include <filesystem>
#include <random>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;

int Unplugs() {
    const char* const asked = std::getenv("TAVIX_SOAK_UNPLUGS");
    return asked ? std::atoi(asked) : 3;
}

std::ptrdiff_t Entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// A camera that goes after some frames, within the first packets of one, and comes back.
std::string Unplugging(std::mt19937& random) {
    return R"([{"serial": "7", "guid": "1209000000A7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 500,
        "faults": {"stream": [{"fault": "Unplug", "frame": )" +
           std::to_string(5 + random() % 20) + R"(, "value": )" + std::to_string(random() % 1000) +
           R"(}], "replugAfterMs": )" + std::to_string(5 + random() % 60) + "}}]";
}

void StreamThroughAnUnplug(const std::string& cameras) {
    VirtualBus bus(cameras);
    Tavix::Camera camera = Tavix::Camera::Open("1209000000A7");
    camera["Width"] = 32;
    camera["OffsetX"] = 16;
    camera["ExposureTime"] = 321.0;
    Tavix::GrabOptions options;
    options.reconnect = 20s;
    Tavix::ImageStream stream = camera.Grab(options);
    std::vector<Tavix::Image> kept;
    std::uint64_t told = 0;
    while (told == 0 || kept.size() < 4) {
        Tavix::Image image = stream.Next();
        EXPECT_EQ(image.Width(), 32U);
        ASSERT_LT(image.Number(), 1000U) << "no gap was told, after " << stream.Counts().reconnects << " reconnects\n"
                                         << cameras;
        if (image.GapBefore().count() > 0) ++told;
        if (image.Number() % 8 == 0 || told > 0) kept.push_back(std::move(image));
    }
    EXPECT_EQ(told, stream.Counts().reconnects);
    EXPECT_EQ(camera["OffsetX"].Int(), 16);
    EXPECT_EQ(camera["ExposureTime"].Float(), 321.0);
}

TEST(ReconnectSoak, SetsTheCameraRightTellsEachGapAndLeaksNothing) {
    std::mt19937 random(12);
    StreamThroughAnUnplug(Unplugging(random)); // what stays for good is there now
    const std::ptrdiff_t files = Entries("/proc/self/fd"), threads = Entries("/proc/self/task");
    for (int i = 0; i < Unplugs() && !testing::Test::HasFailure(); ++i)
        StreamThroughAnUnplug(Unplugging(random));
    EXPECT_EQ(Entries("/proc/self/fd"), files);
    EXPECT_EQ(Entries("/proc/self/task"), threads);
}

} // namespace
