// What a stream changes for the rest of its camera, and while it is prepared.
#include "vexlo/support/StreamFixture.h"

namespace {

using namespace vexlotest;

using StreamEdges = Stream;

TEST_F(StreamEdges, AnswersAreWaitedForLongerWhileItRuns) {
    const auto timeToRead = [this] {
        std::uint32_t value = 0;
        unsigned long count = sizeof value;
        EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_OK);
        return camera.ControlInTimeouts().back();
    };
    Prepare();
    EXPECT_EQ(timeToRead(), 2100u);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(timeToRead(), 600u);
}

TEST_F(StreamEdges, SettingsAreFixedAsSoonAsItIsPrepared) {
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    SetTransferSize(kTransfer);
    ASSERT_EQ(stream->PrepareGrab(1, kPayload), VX_OK);
    const std::uint32_t size = kTransfer;
    EXPECT_EQ(stream->SetProperty(CVxStream::Property_MaxTransferSize, &size, 4), VX_E_INVALID_STATE);
}

} // namespace
