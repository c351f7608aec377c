#include "core/Lock.h"

#include <future>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace {

// clang's analysis cannot know what another thread holds, so the question is asked in a function of its own.
bool IsFreeForOthers(Tavix::RecursiveLock& lock) {
    return std::async(std::launch::async,
                      [&lock]() {
                          if (!lock.try_lock()) return false;
                          lock.unlock();
                          return true;
                      })
        .get();
}

// Holds one level more and asks there.
bool IsFreeForOthersWhileTakenAgain(Tavix::RecursiveLock& lock) TAVIX_NO_THREAD_SAFETY_ANALYSIS {
    const Tavix::ScopedLock again(lock);
    return IsFreeForOthers(lock);
}

} // namespace

TEST(RecursiveLock, IsTakenAgainByItsOwnThread) {
    Tavix::RecursiveLock lock;
    const Tavix::ScopedLock guard(lock);
    EXPECT_FALSE(IsFreeForOthersWhileTakenAgain(lock));
    EXPECT_FALSE(IsFreeForOthers(lock)) << "one level is still held";
}

TEST(RecursiveLock, RefusesAnotherThreadOnlyWhileHeld) {
    Tavix::RecursiveLock lock;
    {
        const Tavix::ScopedLock guard(lock);
        EXPECT_FALSE(IsFreeForOthers(lock));
    }
    EXPECT_TRUE(IsFreeForOthers(lock));
}

TEST(ScopedLock, LeavesAndEntersTheLockWithinItsScope) {
    Tavix::RecursiveLock lock;
    {
        Tavix::ScopedLock guard(lock);
        guard.Unlock();
        EXPECT_TRUE(IsFreeForOthers(lock));
        guard.Lock();
        EXPECT_FALSE(IsFreeForOthers(lock));
        guard.Unlock();
    }
    EXPECT_TRUE(IsFreeForOthers(lock));
}

TEST(RecursiveLock, WorksWithTheStandardGuards) {
    Tavix::RecursiveLock lock;
    {
        const std::unique_lock<Tavix::RecursiveLock> guard(lock);
        EXPECT_FALSE(IsFreeForOthers(lock));
    }
    EXPECT_TRUE(IsFreeForOthers(lock));
}

TEST(RecursiveLock, SerialisesThreads) {
    Tavix::RecursiveLock lock;
    int counter = 0;
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            const Tavix::ScopedLock guard(lock);
            ++counter;
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(counter, 40000);
}
