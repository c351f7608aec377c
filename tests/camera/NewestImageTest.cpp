// Streams that hand out the newest image and drop those that waited.
#include "camera/CameraTest.h"

#include <chrono>
#include <future>
#include <optional>
#include <thread>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;

TEST(NewestImage, IsHandedOutAndTheOthersAreCounted) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.newestOnly = true;
    Tavix::ImageStream stream = camera.Grab(options);
    const Tavix::Image first = stream.Next();
    const std::uint64_t before = stream.Counts().dropped;
    while (stream.Counts().dropped < before + 20)
        std::this_thread::yield();
    const Tavix::Image next = stream.Next();
    EXPECT_EQ(next.Number(), first.Number() + 1);
    EXPECT_GE(next.MissedBefore(), 20U);
    EXPECT_EQ(next.BlockId(), first.BlockId() + next.MissedBefore() + 1);
}

/// A camera that sends as fast as it can brings one more image as the stream ends, in every third stream.
TEST(NewestImage, IsNotHandedOutBeyondTheCount) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.newestOnly = true;
    options.count = 3;
    for (int round = 0; round < 20; ++round) {
        Tavix::ImageStream stream = camera.Grab(options);
        int images = 0;
        for (const Tavix::Image& image : stream) {
            ++images;
            EXPECT_TRUE(image.Clone().IsWhole());
            for (int i = 0; i < 500; ++i)
                std::this_thread::yield();
        }
        EXPECT_EQ(images, 3);
    }
}

TEST(NewestImage, IsWhatACallbackIsCalledWithOnceItHasReturned) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.newestOnly = true;
    options.count = 2;
    std::optional<Tavix::ImageStream> stream;
    std::promise<void> made;
    std::uint64_t missed = 0;
    stream.emplace(camera.Grab(options, [&, isMade = made.get_future().share()](const Tavix::Image& image) {
        isMade.wait();
        missed = image.MissedBefore();
        const std::uint64_t before = stream->Counts().dropped;
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (stream->Counts().dropped < before + 20 && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
    }));
    made.set_value();
    EXPECT_TRUE(stream->Join());
    EXPECT_GE(missed, 20U);
    EXPECT_EQ(stream->Counts().delivered, 2U);
}

TEST(NewestImage, LetsItsCallbackEndTheStream) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.newestOnly = true;
    std::optional<Tavix::ImageStream> stream;
    std::promise<void> made, ended;
    stream.emplace(camera.Grab(options, [&, isMade = made.get_future().share()](Tavix::Image) {
        isMade.wait();
        stream.reset();
        ended.set_value();
    }));
    made.set_value();
    ASSERT_EQ(ended.get_future().wait_for(20s), std::future_status::ready);
    camera.Close();
    EXPECT_TRUE(Tavix::Camera::Open().Grab(1).Next());
}

} // namespace
