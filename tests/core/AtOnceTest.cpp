#include "core/AtOnce.h"

#include "support/Shortage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

namespace {

TEST(AtOnce, WaitsForNobodyBeforeAllHaveBegun) {
    constexpr std::size_t kCount = 40;
    std::mutex lock;
    std::condition_variable changed;
    std::size_t begun = 0, together = 0;
    Tavix::AtOnce(kCount, [&](std::size_t) {
        std::unique_lock<std::mutex> guard(lock);
        ++begun;
        changed.notify_all();
        together += changed.wait_for(guard, std::chrono::seconds(30), [&] { return begun == kCount; });
    });
    EXPECT_EQ(together, kCount);
}

TEST(AtOnce, ThrowsTheFirstByNumberWhenAllHaveEnded) {
    std::atomic<int> ended{0};
    try {
        Tavix::AtOnce(5, [&](std::size_t number) {
            ++ended;
            if (number % 2 == 1) throw std::runtime_error(std::to_string(number));
        });
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "1");
    }
    EXPECT_EQ(ended, 5);
    Tavix::AtOnce(0, [](std::size_t) { ADD_FAILURE() << "there is none"; });
}

TEST(AtOnce, DoesInTurnWhatItHasNoThreadsFor) {
    const shortage::ThreadShortage none;
    std::set<std::size_t> done;
    Tavix::AtOnce(4, [&](std::size_t number) { done.insert(number); });
    EXPECT_EQ(done, (std::set<std::size_t>{0, 1, 2, 3}));
}

} // namespace
