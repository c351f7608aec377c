// What an image stream is told of a camera that has been closed meanwhile.
#include "vexlo/stream/SessionHost.h"

#include "vexlo/support/Fixture.h"

namespace {

using namespace vexlotest;

TEST_F(OnScriptedCamera, KnowsNothingForAStreamOnceItIsClosed) {
    SessionSource none;
    SessionHost host(none);
    std::unique_ptr<usb::Handle> handle;
    StreamChannel channel;
    std::uint8_t bytes[4] = {};
    EXPECT_EQ(host.OpenHandle(handle), VX_E_NOT_OPEN);
    EXPECT_EQ(host.GetStreamChannel(channel), VX_E_NOT_OPEN);
    EXPECT_EQ(host.ReadRegister(0, bytes, sizeof bytes), VX_E_NOT_OPEN);
    EXPECT_EQ(host.WriteRegister(0, bytes, sizeof bytes), VX_E_NOT_OPEN);
    EXPECT_EQ(host.ResetCamera(), VX_E_NOT_OPEN);
    EXPECT_EQ(host.TransferMemoryLimit(), 0u);
    EXPECT_EQ(host.LastWrite(), std::chrono::steady_clock::time_point{});
    host.LimitTransfers(4096);
    host.TrustTransfers(4096);
    EXPECT_EQ(host.TransferLimit(), UINT32_MAX);
    EXPECT_EQ(host.TrustedTransfer(), 0u);
    host.NoteStreaming(true);
    host.NoteStreaming(false);
    host.ReportLost();
    EXPECT_TRUE(camera.Commands().empty());
}

} // namespace
