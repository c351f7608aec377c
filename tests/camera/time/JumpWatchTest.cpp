#include "camera/time/JumpWatch.h"

#include "camera/Durations.h"

#include <gtest/gtest.h>

namespace {

using Tavix::detail::ClockMap;
using Tavix::detail::JumpWatch;

constexpr std::int64_t kStep = 10 * kMillisecond, kUsual = kMillisecond / 2;

/// Images that arrive at a watch, of a camera whose clock counts as the host's does.
class Images {
public:
    bool Arrives(std::int64_t camera, std::int64_t delay) {
        const bool doubts = m_Watch.Doubts(camera, ClockMap::Estimate{camera, 0}, camera + delay);
        m_Watch.NoteDelay(delay);
        return doubts;
    }
    bool ComesFromTheFuture(std::int64_t arrival) { return m_Watch.Doubts(arrival, std::nullopt, arrival); }
    /// A second of them, one like the other; when the next one is due.
    std::int64_t GoOn() {
        std::int64_t camera = kSecond;
        for (; camera < 2 * kSecond; camera += kStep)
            EXPECT_FALSE(Arrives(camera, kUsual));
        return camera;
    }

private:
    JumpWatch m_Watch;
};

TEST(JumpWatch, BelievesAClockWhoseImagesAreLateInStep) {
    Images images;
    const std::int64_t next = images.GoOn();
    EXPECT_FALSE(images.Arrives(next, 50 * kMillisecond)) << "the host was busy";
}

TEST(JumpWatch, DoubtsAClockThatMayHaveBeenSetBack) {
    Images images;
    const std::int64_t next = images.GoOn();
    EXPECT_TRUE(images.Arrives(next - 30 * kMillisecond, kUsual + 30 * kMillisecond));
    EXPECT_FALSE(images.Arrives(next - 20 * kMillisecond, kUsual + 30 * kMillisecond)) << "that was looked at";
}

TEST(JumpWatch, DoubtsAnImageFromTheFuture) {
    Images images;
    EXPECT_TRUE(images.ComesFromTheFuture(images.GoOn()));
}

TEST(JumpWatch, PausesBetweenTwoLooksAndForgetsNone) {
    Images images;
    const std::int64_t next = images.GoOn();
    EXPECT_TRUE(images.Arrives(next - 30 * kMillisecond, kUsual + 30 * kMillisecond));
    std::int64_t camera = next - 80 * kMillisecond, delay = kUsual + 100 * kMillisecond; // back once more
    unsigned int doubts = 0;
    for (int i = 0; i < 20; ++i, camera += kStep)
        doubts += images.Arrives(camera, delay) ? 1 : 0;
    EXPECT_EQ(doubts, 1U);
}

TEST(JumpWatch, LeavesAloneAnImageThatIsLateAndOutOfStepWhenTheNextIsNot) {
    Images images;
    const std::int64_t next = images.GoOn();
    EXPECT_TRUE(images.Arrives(next + 3 * kMillisecond, 20 * kMillisecond));
    EXPECT_FALSE(images.Arrives(next + 5 * kMillisecond, 60 * kMillisecond)) << "soon after a look";
    EXPECT_FALSE(images.Arrives(next + 200 * kMillisecond, kUsual));
    EXPECT_FALSE(images.Arrives(next + 300 * kMillisecond, kUsual));
}

} // namespace
