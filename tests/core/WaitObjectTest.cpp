#include "core/WaitObject.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <pthread.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Tavix;

namespace {

constexpr unsigned int kLong = 20000; // a wait that is expected to succeed
constexpr unsigned int kShort = 30;   // a wait that is expected to fail

std::chrono::milliseconds TimeOf(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

} // namespace

TEST(WaitObject, IsNotValidUnlessCreated) {
    const WaitObject object;
    EXPECT_FALSE(object.IsValid());
    EXPECT_EQ(object.GetFd(), -1);
    EXPECT_EQ(object.GetHandle(), nullptr);
    EXPECT_FALSE(object.Wait(WaitObject::waitForever)) << "returns at once";
    const WaitObjectEx signaller;
    signaller.Signal();
    signaller.Reset();
    signaller.Raise();
    signaller.Lower();
    EXPECT_FALSE(signaller.Wait(0));
}

TEST(WaitObject, IsBornUnsignalled) {
    for (const bool manualReset : {false, true}) {
        const WaitObjectEx object = WaitObjectEx::Create(manualReset);
        EXPECT_TRUE(object.IsValid());
        EXPECT_FALSE(object.Wait(0));
    }
}

TEST(WaitObject, ConsumesASignalWithAutomaticReset) {
    const WaitObjectEx object = WaitObjectEx::Create();
    object.Signal();
    EXPECT_TRUE(object.Wait(0));
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, CountsUnconsumedSignalsAsOne) {
    const WaitObjectEx object = WaitObjectEx::Create();
    for (int i = 0; i < 3; ++i)
        object.Signal();
    EXPECT_TRUE(object.Wait(0));
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, StaysSignalledWithManualReset) {
    const WaitObjectEx object = WaitObjectEx::Create(/*manualReset=*/true);
    object.Signal();
    EXPECT_TRUE(object.Wait(0));
    EXPECT_TRUE(object.Wait(kLong));
    object.Reset();
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, ForgetsASignalOnReset) {
    const WaitObjectEx object = WaitObjectEx::Create();
    object.Signal();
    object.Reset();
    object.Reset(); // nothing to forget
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, WaitsAsLongAsAsked) {
    const WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_GE(TimeOf([&] { EXPECT_FALSE(object.Wait(kShort)); }).count(), kShort);
}

TEST(WaitObject, WakesAThreadThatWaitsForever) {
    const WaitObjectEx object = WaitObjectEx::Create();
    std::thread signaller([&] { object.Signal(); });
    EXPECT_TRUE(object.Wait(WaitObject::waitForever));
    signaller.join();
}

TEST(WaitObject, TakesTheLongestTimeThatIsNotForever) {
    const WaitObjectEx object = WaitObjectEx::Create();
    std::thread signaller([&] { object.Signal(); });
    EXPECT_TRUE(object.Wait(WaitObject::waitForever - 1));
    signaller.join();
}

TEST(WaitObject, SharesItsStateWithCopies) {
    const WaitObjectEx object = WaitObjectEx::Create();
    WaitObject copy = object;
    EXPECT_EQ(copy.GetHandle(), object.GetHandle());
    EXPECT_EQ(copy.GetFd(), object.GetFd());
    object.Signal();
    EXPECT_TRUE(copy.Wait(0));
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, OutlivesItsCreatorThroughACopy) {
    WaitObject copy;
    {
        const WaitObjectEx object = WaitObjectEx::Create();
        copy = object;
        object.Signal();
    }
    EXPECT_TRUE(copy.Wait(0));
}

TEST(WaitObject, HandsOutShareForARawHandle) {
    std::shared_ptr<_WaitObjectPosix_t> share;
    WaitObject copy;
    {
        const WaitObjectEx object = WaitObjectEx::Create(/*manualReset=*/true);
        _WaitObjectPosix_t* raw = object; // as a library that takes a plain pointer sees it
        share = ShareWaitObject(raw);
        copy = object;
    }
    SignalWaitObject(*share);
    EXPECT_TRUE(copy.Wait(0));
    ResetWaitObject(*share);
    EXPECT_FALSE(copy.Wait(0));
    EXPECT_EQ(ShareWaitObject(nullptr), nullptr);
}

TEST(WaitObject, IsHeldByItsLevelHoweverOftenSomebodyWaits) {
    for (const bool manualReset : {false, true}) {
        const WaitObjectEx object = WaitObjectEx::Create(manualReset);
        object.Raise();
        object.Raise(); // once is enough
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(object.Wait(kLong));
        }
        object.Lower();
        EXPECT_FALSE(object.Wait(0));
    }
}

TEST(WaitObject, LosesItsPulseToOneWaitWhileItsLevelIsUp) {
    const WaitObjectEx object = WaitObjectEx::Create();
    object.Raise();
    object.Signal();
    EXPECT_TRUE(object.Wait(0));
    object.Lower();
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, KeepsThePulseThatNobodyConsumedWhenItsLevelGoes) {
    for (const bool signalsFirst : {false, true}) {
        const WaitObjectEx object = WaitObjectEx::Create();
        if (signalsFirst) object.Signal();
        object.Raise();
        if (!signalsFirst) object.Signal();
        object.Lower();
        EXPECT_TRUE(object.Wait(0));
        EXPECT_FALSE(object.Wait(0));
        object.Lower(); // is down already
        EXPECT_FALSE(object.Wait(0));
    }
}

TEST(WaitObject, ForgetsOnlyThePulseOnReset) {
    const WaitObjectEx object = WaitObjectEx::Create();
    object.Signal();
    object.Raise();
    object.Reset();
    EXPECT_TRUE(object.Wait(0));
    object.Lower();
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, WakesAllThatWaitWithItsLevel) {
    const WaitObjectEx object = WaitObjectEx::Create();
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] { EXPECT_TRUE(object.Wait(WaitObject::waitForever)); });
    RaiseWaitObject(*ShareWaitObject(object));
    for (std::thread& waiter : waiters)
        waiter.join();
    LowerWaitObject(*ShareWaitObject(object));
    EXPECT_FALSE(object.Wait(0));
}

TEST(WaitObject, WakesThoseWhoSleptWhenItWasRaisedQuietly) {
    const WaitObjectEx object = WaitObjectEx::Create();
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] { EXPECT_TRUE(object.Wait(WaitObject::waitForever)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(kShort)); // most sleep by now; those who do not see the level
    EXPECT_TRUE(RaiseWaitObjectQuietly(*object.GetHandle()));
    WakeWaitObject(*object.GetHandle());
    for (std::thread& waiter : waiters)
        waiter.join();
}

TEST(WaitObject, GivesASignalToExactlyOneWaiter) {
    constexpr int kSignals = 500, kWaiters = 4;
    const WaitObjectEx object = WaitObjectEx::Create();
    const WaitObjectEx consumed = WaitObjectEx::Create();
    std::atomic<int> count{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> waiters;
    for (int i = 0; i < kWaiters; ++i) {
        waiters.emplace_back([&] {
            while (object.Wait(WaitObject::waitForever) && !stop) {
                ++count;
                consumed.Signal();
            }
            object.Signal(); // wake the next one to stop
        });
    }
    for (int i = 0; i < kSignals; ++i) {
        object.Signal();
        ASSERT_TRUE(consumed.Wait(kLong));
    }
    EXPECT_EQ(count, kSignals);
    stop = true;
    object.Signal();
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(count, kSignals);
}

TEST(WaitObject, WakesAllWaitersWithManualReset) {
    const WaitObjectEx object = WaitObjectEx::Create(/*manualReset=*/true);
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { woken += object.Wait(kLong) ? 1 : 0; });
    object.Signal();
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken, 4);
}

TEST(WaitObject, LosesNoWakeUpBetweenTwoThreads) {
    const WaitObjectEx ping = WaitObjectEx::Create();
    const WaitObjectEx pong = WaitObjectEx::Create();
    constexpr int kRounds = 5000;
    std::thread other([&] {
        for (int i = 0; i < kRounds && ping.Wait(kLong); ++i)
            pong.Signal();
    });
    int rounds = 0;
    for (; rounds < kRounds; ++rounds) {
        ping.Signal();
        if (!pong.Wait(kLong)) break;
    }
    other.join();
    EXPECT_EQ(rounds, kRounds);
}

TEST(WaitObject, WaitsOnAfterAnInterruptingSignal) {
    struct sigaction action {
    }, before{};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    const WaitObjectEx object = WaitObjectEx::Create();
    std::atomic<bool> stop{false};
    const pthread_t waiter = pthread_self();
    std::thread interrupter([&] {
        while (!stop) {
            pthread_kill(waiter, SIGUSR1);
            std::this_thread::yield();
        }
    });
    EXPECT_GE(TimeOf([&] { EXPECT_FALSE(object.Wait(kShort)); }).count(), kShort);
    EXPECT_GE(TimeOf([&] { WaitObject::Sleep(kShort); }).count(), kShort);
    stop = true;
    interrupter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(WaitObject, SleepsAtLeastAsLongAsAsked) {
    EXPECT_GE(TimeOf([] { WaitObject::Sleep(kShort); }).count(), kShort);
    WaitObject::Sleep(0);
}
