// The mapping of times beside the true clock of a virtual camera, which drifts and jumps.

#include "camera/CameraTest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using namespace cameratest;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr double kDriftPpm = 50;
constexpr std::int64_t kJump = 300'000'000;

/// The camera's clock as its settings make it; only the moment of its power-on is not known, and latches of the test's
/// own enclose that.
class TrueClock {
public:
    /// The latch whose value is read happens between the moments before and after; it may be the one of the camera's
    /// own clock thread, which comes between ours and the reading.
    void Enclose(Tavix::Camera& camera) {
        const std::int64_t before = Now();
        camera["TimestampLatch"].Execute();
        const auto value = static_cast<std::uint64_t>(camera["TimestampLatchValue"].Int());
        const std::int64_t after = Now();
        const std::int64_t passed = Passed(value);
        m_Earliest = std::max(m_Earliest, before - passed);
        m_Latest = std::min(m_Latest, after - passed);
    }
    /// What is true of the moment of an image, with what is not known of it.
    std::int64_t At(std::uint64_t cameraTime) const { return m_Earliest + Doubt() + Passed(cameraTime); }
    std::int64_t Doubt() const { return (m_Latest - m_Earliest) / 2; }
    bool HasJumped(std::uint64_t cameraTime) const { return static_cast<std::int64_t>(cameraTime) > kJumpsAt; }

    static constexpr std::int64_t kJumpsAt = 1'150'000'000; // between what it says before and after

private:
    static std::int64_t Now() { return steady_clock::now().time_since_epoch().count(); }
    /// Nanoseconds of the host since power-on.
    std::int64_t Passed(std::uint64_t cameraTime) const {
        const auto told = static_cast<std::int64_t>(cameraTime) - (HasJumped(cameraTime) ? kJump : 0);
        return static_cast<std::int64_t>(std::llround(static_cast<double>(told) / (1 + kDriftPpm * 1e-6)));
    }

    std::int64_t m_Earliest = INT64_MIN / 2, m_Latest = INT64_MAX / 2;
};

struct Told {
    std::uint64_t cameraTime;
    Tavix::HostTime time;
};

/// TAVIX_TIME_IMAGES says how many; a few otherwise.
std::size_t ImagesAfterJump() {
    const char* const asked = std::getenv("TAVIX_TIME_IMAGES");
    return asked ? std::strtoul(asked, nullptr, 10) : 500;
}

void PrintFigures(std::vector<std::int64_t> errors, std::int64_t doubt) {
    if (errors.empty()) return;
    std::sort(errors.begin(), errors.end());
    std::printf("%zu images: error %.1f us in the median, %.1f us at worst, known to %.1f us\n", errors.size(),
                static_cast<double>(errors[errors.size() / 2]) * 1e-3, static_cast<double>(errors.back()) * 1e-3,
                static_cast<double>(doubt) * 1e-3);
}

TEST(HostTime, IsTrueWithinItsBoundThroughDriftAndAJump) {
    VirtualBus bus(R"([{"sensorWidth": 64, "sensorHeight": 64, "frameRate": 1000,
                        "clock": {"driftPpm": 50, "jumpAfterMs": 1000, "jumpByMs": 300}}])");
    Tavix::Camera camera = Tavix::Camera::Open();
    std::vector<Told> images;
    TrueClock truth;
    bool hasJumped = false;
    Tavix::ImageStream stream = camera.Grab();
    for (std::size_t after = 0; after < ImagesAfterJump();) {
        const Tavix::Image image = stream.Next();
        images.push_back({image.CameraTime(), image.Time()});
        hasJumped = hasJumped || truth.HasJumped(image.CameraTime());
        if (hasJumped) ++after;
        if (images.size() % 10 == 0) truth.Enclose(camera);
    }
    EXPECT_FALSE(truth.HasJumped(images.front().cameraTime));
    std::vector<std::int64_t> errors;
    for (const auto& [cameraTime, time] : images) {
        if (!time.IsKnown()) continue; // the jump is not measured yet
        const nanoseconds told = time.monotonic.time_since_epoch();
        const std::int64_t error = std::llabs(told.count() - truth.At(cameraTime));
        errors.push_back(error);
        EXPECT_LE(error, time.bound.count() + truth.Doubt()) << "at " << cameraTime;
    }
    PrintFigures(errors, truth.Doubt());
    EXPECT_TRUE(images.front().time.IsKnown());
    EXPECT_TRUE(images.back().time.IsKnown()) << "a jump is noticed";
}

} // namespace
