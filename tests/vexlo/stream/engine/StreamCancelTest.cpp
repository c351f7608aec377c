// The engine when an application cancels while link or system misbehave.

#include "vexlo/stream/support/EngineBench.h"

#include <atomic>
#include <future>
#include <thread>

using namespace streamtest;

namespace {

TEST(StreamCancel, SurvivesARestart) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    bench.bus.Fail(usb::TransferStatus::Stall);
    bench.engine->Cancel();
    // However the two met, the stream must come on again.
    while (true) {
        const VxStatus status = bench.NextAndQueue().Status;
        if (status == VX_OK) break;
        ASSERT_TRUE(status == VX_E_CANCELLED || status == VX_E_USB_STALL) << status;
    }
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

/// The cancel comes between the failure and the end of what was queued behind it, which fails no more.
TEST(StreamCancel, LeavesAFailureItsRestart) {
    EngineBench bench;
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    std::promise<void> cancelled;
    std::thread canceller;
    bench.bus.OnCancel([&] {
        const unsigned int wakes = bench.bus.Wakes();
        canceller = std::thread([&] {
            bench.engine->Cancel();
            cancelled.set_value();
        });
        EXPECT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Wakes() > wakes; }));
    });
    bench.bus.Fail(usb::TransferStatus::Error);
    cancelled.get_future().wait();
    canceller.join();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_CANCELLED);
    bench.QueueAll();
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

TEST(StreamCancel, EndsAWaitForABadLink) {
    EngineBench bench;
    std::atomic<bool> isBad{true};
    bench.camera.OnWrite(0x18, [&](unsigned int number) { return isBad && number < 8 ? VX_E_USB_IO : VX_OK; });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Fail(usb::TransferStatus::Error);
    EXPECT_EQ(bench.Next().Status, VX_E_USB_IO);
    bench.engine->Cancel();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_CANCELLED);
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
    bench.QueueAll();
    isBad = false;
    bench.ExpectGood(0);
}

TEST(StreamCancel, IsAskedForWithoutWaitingForACameraThatDoesNotAnswer) {
    std::promise<void> recovering, answer;
    EngineBench bench;
    bench.camera.OnWrite(0x18, [&](unsigned int number) {
        if (number == 1) {
            recovering.set_value();
            answer.get_future().wait();
        }
        return VX_OK;
    });
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    bench.bus.Fail(usb::TransferStatus::Error);
    EXPECT_EQ(bench.Next().Status, VX_E_USB_IO);
    recovering.get_future().wait();
    bench.engine->AskCancel();
    EXPECT_TRUE(bench.IsEmpty());
    answer.set_value();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_CANCELLED);
    bench.camera.OnEnable([&](unsigned int) { bench.bus.Send(bench.Good(0)); });
}

} // namespace
