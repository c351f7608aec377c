// Cameras that bring nothing at all as long as they are asked for large transfers.
#include "integration/support/DirectCamera.h"

#include <core/LogSink.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>

namespace {

using namespace integration;
using vexlo::CVxStream;

constexpr unsigned long kStreamControl = kStreamRegisters + 0x04;
constexpr unsigned long kTransferSize = kStreamRegisters + 0x1C;
constexpr std::uint32_t kNarrow = 65536;

/// The camera is silent with transfers of more than 64 KiB.
class SilentStream : public testing::Test {
protected:
    SilentStream() { SetTimeout(600); }

    void SetTimeout(std::uint32_t milliseconds) {
        EXPECT_EQ(SetProperty(*stream, CVxStream::Property_FirstDataTimeout, milliseconds), vexlo::VX_OK);
    }
    void ExpectFrames() {
        for (std::uint64_t id = 0; id < 6; ++id) {
            const CVxStream::GrabResult result = stream.Next();
            ASSERT_EQ(result.Status, vexlo::VX_OK) << TextOf(result.Status);
            EXPECT_EQ(result.BlockId, id);
        }
    }

    DirectCamera camera{R"([{"frameRateEnable": false, "registers": {"silentAboveTransfer": 65536}}])"};
    DirectStream stream{camera};
};

TEST_F(SilentStream, IsHelpedBySmallerTransfersAndByThemAtOnceTheNextTime) {
    std::atomic<int> tried{0}, kept{0};
    const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) {
        if (std::string(text).find("smaller ones are tried") != std::string::npos) ++tried;
        if (std::string(text).find("the camera is given these from now on") != std::string::npos) ++kept;
    });
    stream.Start();
    EXPECT_GT(camera.Read(kTransferSize), kNarrow);
    ExpectFrames();
    EXPECT_EQ(camera.Read(kTransferSize), kNarrow);
    EXPECT_EQ(camera.Read(kStreamControl), 1u);
    EXPECT_EQ(stream.Count(CVxStream::Property_FailedBufferCount), 0u) << "no frame had begun";
    EXPECT_EQ(stream.Count(CVxStream::Property_ResynchronizationCount), 1u);
    stream.Finish();
    stream.Start();
    EXPECT_EQ(camera.Read(kTransferSize), kNarrow);
    ExpectFrames();
    EXPECT_EQ(stream.Count(CVxStream::Property_ResynchronizationCount), 0u);
    EXPECT_EQ(tried, 1);
    EXPECT_EQ(kept, 1);
}

TEST_F(SilentStream, StaysSilentWhenNothingIsToBeTried) {
    SetTimeout(0);
    stream.Start();
    EXPECT_EQ(stream.Next(/*timeoutMs=*/400).Status, vexlo::VX_E_TIMEOUT);
    EXPECT_GT(camera.Read(kTransferSize), kNarrow);
}

/// Registers of the trigger that starts a frame.
constexpr unsigned long kTriggerMode = 0x102130;
constexpr unsigned long kTriggerSoftware = 0x102140;

TEST(WaitingStream, IsTriedOnceWithSmallerTransfersAndAnswersItsTrigger) {
    std::atomic<bool> isKnownToWait{false};
    const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) {
        if (std::string(text).find("the camera waits for something") != std::string::npos) isKnownToWait = true;
    });
    DirectCamera camera(R"([{"serial": "7"}])");
    DirectStream stream(camera);
    EXPECT_EQ(SetProperty<std::uint32_t>(*stream, CVxStream::Property_FirstDataTimeout, 100), vexlo::VX_OK);
    ASSERT_EQ(camera.Write(kTriggerMode, 1), vexlo::VX_OK);
    stream.Start();
    for (int i = 0; i < 100 && !isKnownToWait; ++i)
        EXPECT_EQ(stream.Next(/*timeoutMs=*/20).Status, vexlo::VX_E_TIMEOUT);
    EXPECT_TRUE(isKnownToWait);
    EXPECT_EQ(camera.Read(kTransferSize), kNarrow);
    ASSERT_EQ(camera.Write(kTriggerSoftware, 1), vexlo::VX_OK);
    EXPECT_EQ(stream.Next().Status, vexlo::VX_OK);
    EXPECT_EQ(stream.Count(CVxStream::Property_FailedBufferCount), 0u);
    stream.Finish();
    stream.Start();
    EXPECT_EQ(stream.Next(/*timeoutMs=*/300).Status, vexlo::VX_E_TIMEOUT);
    EXPECT_GT(camera.Read(kTransferSize), kNarrow) << "what was learnt is not forgotten";
    ASSERT_EQ(camera.Write(kTriggerSoftware, 1), vexlo::VX_OK);
    EXPECT_EQ(stream.Next().Status, vexlo::VX_OK);
}

} // namespace
