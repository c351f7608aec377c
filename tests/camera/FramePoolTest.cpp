#include "camera/stream/FramePool.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using Tavix::Image;
using Tavix::detail::Frame;
using Tavix::detail::FramePool;

TEST(FramePool, GetsBackWhatImagesHadOnManyThreads) {
    const auto pool = std::make_shared<FramePool>();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([image = Image(pool->Lend(pool->Add()))]() mutable { image = Image(); });
    }
    for (std::thread& thread : threads)
        thread.join();
    int count = 0;
    for (const Frame* frame = pool->TakeReturned(); frame; frame = frame->next)
        ++count;
    EXPECT_EQ(count, 8);
    EXPECT_FALSE(pool->HasReturned());
}

TEST(FramePool, RingsOnlyWhileTheStreamIsHungry) {
    const auto pool = std::make_shared<FramePool>();
    { const Image image(pool->Lend(pool->Add())); }
    EXPECT_FALSE(pool->Bell().Wait(0));
    pool->SetHungry(true);
    { const Image image(pool->Lend(pool->Add())); }
    EXPECT_TRUE(pool->Bell().Wait(0));
}

TEST(FramePool, ReleasesTheMemoryOfFramesThatComeBackAfterTheStream) {
    const auto pool = std::make_shared<FramePool>();
    Frame& atHome = pool->Add();
    Frame& lent = pool->Add();
    atHome.memory = std::make_shared<int>();
    lent.memory = std::make_shared<int>();
    const std::weak_ptr<void> first = atHome.memory, second = lent.memory;
    Image image(pool->Lend(lent));
    pool->Retire();
    EXPECT_TRUE(first.expired());
    EXPECT_FALSE(second.expired());
    image = Image();
    EXPECT_TRUE(second.expired());
}

} // namespace
