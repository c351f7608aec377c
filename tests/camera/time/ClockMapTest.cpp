#include "camera/time/ClockMap.h"

#include "camera/Durations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

namespace {

using Tavix::detail::ArrivalMap;
using Tavix::detail::ClockMap;

/// A camera whose clock runs 50 ppm fast from some time on, and can jump.
struct Camera {
    std::int64_t offset = 123 * kSecond;
    std::mt19937 random{7};

    std::int64_t At(std::int64_t host) const {
        return offset + host + static_cast<std::int64_t>(std::llround(static_cast<double>(host) * 50e-6));
    }
    /// The camera reads its clock somewhere within the round trip.
    ClockMap::Pair Latch(std::int64_t host) {
        const std::int64_t roundTrip = 20 * kMicrosecond + random() % (20 * kMicrosecond);
        return {host + roundTrip / 2, At(host + random() % roundTrip), roundTrip};
    }
};

TEST(ClockMap, KnowsNothingBeforeTheFirstPair) {
    EXPECT_FALSE(ClockMap().ToHost(5));
}

TEST(ClockMap, StaysWithinItsBoundAndFiftyMicrosecondsThroughDriftAndAJump) {
    Camera camera;
    ClockMap map;
    std::int64_t worst = 0;
    for (int frame = 0; frame < 10000; ++frame) {
        const std::int64_t now = kSecond + frame * 10 * kMillisecond;
        if (frame == 5000) camera.offset += 300 * kMillisecond;
        if (frame % 50 == 0 || frame == 5) {
            EXPECT_EQ(map.Add(camera.Latch(now)), frame != 5000);
        }
        const auto estimate = map.ToHost(camera.At(now));
        ASSERT_TRUE(estimate);
        const std::int64_t error = std::llabs(estimate->host - now);
        EXPECT_LE(error, estimate->bound) << "frame " << frame;
        worst = std::max(worst, error);
    }
    EXPECT_LE(worst, 50 * kMicrosecond);
}

TEST(ClockMap, BeginsAnewWhenTheClockIsSetBack) {
    ClockMap map;
    EXPECT_TRUE(map.Add({kSecond, 10 * kSecond, 20 * kMicrosecond}));
    EXPECT_FALSE(map.Add({2 * kSecond, 5 * kSecond, 20 * kMicrosecond}));
    EXPECT_EQ(map.ToHost(5 * kSecond)->host, 2 * kSecond);
}

TEST(ClockMap, NarrowsItsBoundAsTheDriftGetsKnown) {
    Camera camera;
    ClockMap map;
    map.Add(camera.Latch(kSecond));
    const std::int64_t wide = map.ToHost(camera.At(2 * kSecond))->bound;
    for (int i = 1; i <= 20; ++i)
        map.Add(camera.Latch(kSecond + i * kSecond));
    const std::int64_t narrow = map.ToHost(camera.At(22 * kSecond))->bound;
    EXPECT_LT(narrow, wide / 4);
}

TEST(ArrivalMap, FollowsTheLowerEnvelopeOfTheArrivals) {
    Camera camera;
    ArrivalMap map;
    std::int64_t worst = 0;
    for (int frame = 0; frame < 5000; ++frame) {
        const std::int64_t now = kSecond + frame * 10 * kMillisecond;
        const std::int64_t delay = kMillisecond + camera.random() % (5 * kMillisecond);
        map.Add(camera.At(now), now + delay);
        const auto estimate = map.ToHost(camera.At(now));
        ASSERT_TRUE(estimate);
        EXPECT_LE(std::llabs(estimate->host - now), estimate->bound) << "frame " << frame;
        if (frame > 0) {
            EXPECT_LE(estimate->bound, 11 * kMillisecond) << "an image comes before the next one";
        }
        if (frame > 100) worst = std::max(worst, estimate->host - now);
    }
    EXPECT_LT(worst, 2 * kMillisecond) << "the least delay is a millisecond";
}

TEST(ArrivalMap, BeginsAnewWhenTheClockJumps) {
    Camera camera;
    ArrivalMap map;
    map.Add(camera.At(kSecond), kSecond + kMillisecond);
    camera.offset -= 100 * kSecond;
    map.Add(camera.At(2 * kSecond), 2 * kSecond + kMillisecond);
    EXPECT_EQ(map.ToHost(camera.At(2 * kSecond))->host, 2 * kSecond + kMillisecond);
}

} // namespace
