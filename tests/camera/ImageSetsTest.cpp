#include "camera/group/ImageSets.h"

#include "camera/image/Frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using SetsTime = Tavix::detail::ImageSets::Time;

/// Two cameras that are triggered every 10 ms. Time passes by what is added.
class TwoCameras {
public:
    explicit TwoCameras(const Tavix::GroupOptions& options)
        : m_Sets({"left", "right"}, options, [this](std::size_t camera, Tavix::Image) { ++dropped[camera]; }) {}

    /// An image of a trigger, with an id of its camera's own.
    void Add(std::size_t camera, int trigger, std::uint64_t id, std::chrono::nanoseconds gap = {}) {
        now = std::max(now, SetsTime(1h) + trigger * 10ms);
        auto frame = std::make_unique<Tavix::detail::Frame>();
        frame->blockId = id;
        frame->gapBefore = gap;
        frame->time.monotonic = SetsTime(1h) + trigger * 10ms + camera * 1ms;
        m_Sets.Add(camera, Tavix::Image(Tavix::detail::FramePtr(frame.release())), now);
    }
    /// The ids of the next set, its cameras' own.
    std::vector<int> Take() {
        std::vector<int> ids;
        if (auto set = m_Sets.Take(now)) {
            for (const Tavix::Image& image : set->images)
                ids.push_back(image ? static_cast<int>(image.BlockId()) : -1);
            gaps = set->gaps;
        }
        return ids;
    }
    void End(std::size_t camera) { m_Sets.End(camera, "gone"); }

    SetsTime now{};
    int dropped[2] = {};
    std::vector<std::string> gaps;

private:
    Tavix::detail::ImageSets m_Sets;
};

Tavix::GroupOptions ById(bool newestOnly = false) {
    Tavix::GroupOptions options;
    options.by = Tavix::GroupBy::BlockId;
    options.grab.newestOnly = newestOnly;
    return options;
}

using Ids = std::vector<int>;

TEST(ImageSets, AreCompleteAgainByBlockIdAfterACameraWasAway) {
    TwoCameras cameras(ById());
    cameras.Add(0, 0, 0);
    cameras.Add(1, 0, 0);
    EXPECT_EQ(cameras.Take(), (Ids{0, 0}));
    cameras.Add(0, 1, 1);
    EXPECT_EQ(cameras.Take(), Ids()) << "the other may still send its image";
    cameras.Add(0, 20, 20);
    cameras.Add(1, 20, 0, 1s); // which counts anew
    EXPECT_EQ(cameras.Take(), (Ids{1, -1}));
    EXPECT_EQ(cameras.Take(), (Ids{20, 0}));
    cameras.Add(1, 21, 1); // also when it comes first
    cameras.Add(0, 21, 21);
    EXPECT_EQ(cameras.Take(), (Ids{21, 1}));
    EXPECT_EQ(cameras.dropped[0] + cameras.dropped[1], 0);
}

TEST(ImageSets, WaitForTheImageWhoseIdIsTakenOverAndForgetThoseThatFindNone) {
    Tavix::GroupOptions options = ById();
    options.setTimeout = 100ms;
    TwoCameras cameras(options);
    cameras.Add(0, 0, 0);
    cameras.Add(1, 3, 0, 1s); // of a moment that the other has no image of
    cameras.Add(0, 20, 20);
    EXPECT_EQ(cameras.Take(), (Ids{0, -1}));
    EXPECT_THAT(cameras.gaps[1], HasSubstr("counts anew"));
    EXPECT_EQ(cameras.dropped[1], 1);
    cameras.Add(1, 21, 18);
    cameras.Add(0, 21, 21);
    EXPECT_EQ(cameras.Take(), (Ids{20, -1}));
    EXPECT_EQ(cameras.Take(), (Ids{21, 18}));
}

TEST(ImageSets, AreCompleteAgainByBlockIdAfterAllCamerasWereAway) {
    TwoCameras cameras(ById());
    for (std::size_t camera : {0, 1})
        cameras.Add(camera, 0, 100);
    EXPECT_EQ(cameras.Take(), (Ids{100, 100}));
    cameras.Add(0, 20, 5, 1s);
    cameras.Add(1, 20, 3, 1s);
    EXPECT_EQ(cameras.Take(), (Ids{5, 3}));
}

TEST(ImageSets, KeepTheNewestOneOnlyIfAskedFor) {
    TwoCameras cameras(ById(/*newestOnly=*/true));
    for (int i = 0; i < 10; ++i) {
        cameras.Add(0, i, static_cast<std::uint64_t>(i));
        cameras.Add(1, i, static_cast<std::uint64_t>(i));
    }
    cameras.Add(0, 10, 10); // which may still become one
    EXPECT_EQ(cameras.dropped[0], 9);
    EXPECT_EQ(cameras.dropped[1], 9);
    EXPECT_EQ(cameras.Take(), (Ids{9, 9}));
    EXPECT_EQ(cameras.Take(), Ids());
    cameras.Add(1, 10, 10);
    EXPECT_EQ(cameras.Take(), (Ids{10, 10}));
}

TEST(ImageSets, KeepNoMoreOfASilentCamerasNeighbourThanMayStillBecomeASet) {
    TwoCameras cameras(ById(/*newestOnly=*/true));
    for (int i = 0; i < 200; ++i)
        cameras.Add(0, i, static_cast<std::uint64_t>(i));
    EXPECT_GE(cameras.dropped[0], 140) << "nobody has asked for a set, and one waits for 500 ms";
    EXPECT_EQ(cameras.Take(), (Ids{149, -1}));
}

} // namespace
