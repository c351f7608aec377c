#include "gentl/stream/Pump.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using Tavix::WaitObjectEx;

constexpr unsigned int kTimeoutMs = 60000;

TEST(Pump, WorksForEachSignal) {
    const WaitObjectEx bell = WaitObjectEx::Create(), done = WaitObjectEx::Create();
    gentl::Pump pump(bell, [&] { done.Signal(); });
    EXPECT_FALSE(pump.IsRunning());
    pump.Start();
    EXPECT_TRUE(pump.IsRunning());
    for (int i = 0; i < 3; ++i) {
        bell.Signal();
        EXPECT_TRUE(done.Wait(kTimeoutMs));
    }
    pump.Stop();
    EXPECT_FALSE(pump.IsRunning());
}

TEST(Pump, IsStoppedOnlyWhenItsWorkIsOver) {
    const WaitObjectEx bell = WaitObjectEx::Create(), begun = WaitObjectEx::Create(), never = WaitObjectEx::Create();
    std::atomic<bool> isOver{false};
    gentl::Pump pump(bell, [&] {
        begun.Signal();
        (void)never.Wait(50); // an end that did not wait would be here first
        isOver = true;
    });
    pump.Start();
    bell.Signal();
    ASSERT_TRUE(begun.Wait(kTimeoutMs));
    pump.Stop();
    EXPECT_TRUE(isOver);
}

TEST(Pump, RunsAgainAfterItWasStopped) {
    const WaitObjectEx bell = WaitObjectEx::Create(), done = WaitObjectEx::Create();
    gentl::Pump pump(bell, [&] { done.Signal(); });
    pump.Start();
    pump.Stop();
    pump.Stop();
    (void)done.Wait(0);
    pump.Start();
    bell.Signal();
    EXPECT_TRUE(done.Wait(kTimeoutMs));
}

} // namespace
