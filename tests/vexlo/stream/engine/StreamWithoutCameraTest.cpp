// What becomes of a stream when its camera has gone.

#include "vexlo/stream/support/EngineBench.h"

using namespace streamtest;

namespace {

TEST(StreamWithoutCamera, DeliversTheBlockThatWasWholeBeforeOneFoundTheCameraGone) {
    EngineBench bench;
    bench.StartWithoutBuffers();
    for (std::size_t i = 0; i < 3; ++i)
        bench.Queue(i);
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 15; }));
    bench.bus.FailEvents(usb::Result::Other); // what has ended stays unseen for a while
    const unsigned int calls = bench.bus.EventCalls();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.EventCalls() > calls; }));
    bench.bus.Send(bench.Good(0));
    bench.bus.Unplug();
    bench.Queue(3); // cannot be given to the bus any more
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Refused() != 0; }));
    bench.bus.FailEvents(usb::Result::Ok);
    EXPECT_EQ(bench.Next().Status, VX_OK);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_USB_NO_DEVICE);
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
    EXPECT_TRUE(bench.IsRefused());
}

TEST(StreamWithoutCamera, EndsWhereverTheCameraWasInABlock) {
    for (std::size_t at = 0; at <= 5; ++at) {
        EngineBench bench;
        bench.Start();
        const auto transfers = bench.Good(0);
        for (std::size_t i = 0; i < at; ++i)
            bench.bus.Send(transfers[i]);
        ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Unsent() == 0; }));
        bench.bus.Unplug();
        ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.camera.TimesLost() == 1; }));
        EXPECT_TRUE(bench.IsRefused());
        unsigned int good = 0;
        while (!bench.IsEmpty()) {
            const VxStatus status = bench.Next().Status;
            if (status == VX_OK) {
                ++good;
            } else {
                EXPECT_EQ(status, VX_E_USB_NO_DEVICE);
            }
        }
        EXPECT_EQ(good, at == 5 ? 1u : 0u);
        EXPECT_EQ(bench.Returned(), 4u);
        EXPECT_EQ(bench.statistics.totalBuffers, 4u);
        EXPECT_EQ(bench.statistics.failedBuffers, 4u - good);
        EXPECT_EQ(bench.statistics.resynchronizations, 0u);
        EXPECT_TRUE(bench.camera.Writes().empty());
    }
}

} // namespace
