#include "gentl/Handles.h"

#include <gtest/gtest.h>

#include <ctime>
#include <future>
#include <thread>

#include <pthread.h>
#include <sched.h>

namespace {

/// The calling thread on the first of its processors.
void StayOnOneProcessor() {
    cpu_set_t mine, one;
    ASSERT_EQ(::pthread_getaffinity_np(::pthread_self(), sizeof mine, &mine), 0);
    int first = 0;
    while (!CPU_ISSET(first, &mine))
        ++first;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    ASSERT_EQ(::pthread_setaffinity_np(::pthread_self(), sizeof one, &one), 0);
}

bool IsMadeUrgent() {
    sched_param urgent{};
    urgent.sched_priority = 50;
    return ::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &urgent) == 0;
}

double OwnProcessorTime() {
    std::timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

TEST(SpinLock, LetsAHolderOfLowerPriorityGoOn) {
    gentl::SpinLock lock;
    std::promise<void> held;
    std::thread holder([&] {
        StayOnOneProcessor();
        lock.lock();
        held.set_value();
        volatile unsigned int work = 0; // for some 20 ms, of which the other thread leaves it none if it only yields
        for (unsigned int i = 0; i < 20'000'000; ++i)
            work = work + 1;
        lock.unlock();
    });
    held.get_future().wait();
    double used = 0;
    bool isUrgent = false;
    std::thread waiter([&] {
        StayOnOneProcessor();
        isUrgent = IsMadeUrgent();
        const double before = OwnProcessorTime();
        lock.lock();
        lock.unlock();
        used = OwnProcessorTime() - before;
    });
    holder.join();
    waiter.join();
    if (!isUrgent) GTEST_SKIP() << "this user may not have urgent threads";
    EXPECT_LT(used, 0.3) << "seconds of a processor that the holder waited for";
}

} // namespace
