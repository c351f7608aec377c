#include "usb/HotplugHandlers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>

namespace {

using usb::HotplugEvent;
using usb::HotplugHandlers;

TEST(HotplugHandlers, CallsAllInOrderOfRegistration) {
    HotplugHandlers handlers;
    std::string calls;
    handlers.Add([&](HotplugEvent, const std::string& id) { calls += "a" + id; });
    handlers.Add([&](HotplugEvent, const std::string& id) { calls += "b" + id; });
    handlers.Notify(HotplugEvent::Arrived, "1");
    EXPECT_EQ(calls, "a1b1");
}

TEST(HotplugHandlers, DoesNotCallARemovedHandler) {
    HotplugHandlers handlers;
    int calls = 0;
    const auto registration = handlers.Add([&](HotplugEvent, const std::string&) { ++calls; });
    EXPECT_NE(registration, 0u);
    handlers.Remove(registration);
    handlers.Remove(registration);
    handlers.Notify(HotplugEvent::Left, "1");
    EXPECT_EQ(calls, 0);
}

TEST(HotplugHandlers, AHandlerMayRemoveItself) {
    HotplugHandlers handlers;
    int calls = 0;
    std::uint64_t registration = 0;
    registration = handlers.Add([&](HotplugEvent, const std::string&) {
        ++calls;
        handlers.Remove(registration);
    });
    handlers.Notify(HotplugEvent::Left, "1");
    handlers.Notify(HotplugEvent::Left, "1");
    EXPECT_EQ(calls, 1);
}

TEST(HotplugHandlers, AHandlerMayRemoveTheNextOne) {
    HotplugHandlers handlers;
    int calls = 0;
    std::uint64_t second = 0;
    handlers.Add([&](HotplugEvent, const std::string&) { handlers.Remove(second); });
    second = handlers.Add([&](HotplugEvent, const std::string&) { ++calls; });
    handlers.Notify(HotplugEvent::Left, "1");
    EXPECT_EQ(calls, 0);
}

TEST(HotplugHandlers, CallsNoneThatWasAddedMeanwhile) {
    HotplugHandlers handlers;
    int calls = 0;
    handlers.Add(
        [&](HotplugEvent, const std::string&) { handlers.Add([&](HotplugEvent, const std::string&) { ++calls; }); });
    handlers.Notify(HotplugEvent::Arrived, "1");
    EXPECT_EQ(calls, 0);
    handlers.Notify(HotplugEvent::Arrived, "1");
    EXPECT_EQ(calls, 1);
}

TEST(HotplugHandlers, RemoveReturnsAfterTheRunningCallHasEnded) {
    HotplugHandlers handlers;
    std::promise<void> entered, mayLeave;
    std::atomic<bool> left{false};
    const auto registration = handlers.Add([&](HotplugEvent, const std::string&) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    std::thread notifier([&] { handlers.Notify(HotplugEvent::Arrived, "1"); });
    entered.get_future().wait();
    std::thread releaser([&] { mayLeave.set_value(); });
    handlers.Remove(registration);
    EXPECT_TRUE(left);
    notifier.join();
    releaser.join();
}

} // namespace
