#include "tavixusb/support/StreamGrabberFixture.h"

using testing::ElementsAre;

namespace {

// Results.

/// Every field other than a fresh result's.
Tavix::GrabResult Used() {
    Tavix::GrabResult result;
    result.m_PayloadType = Tavix::PayloadType_Image;
    result.m_PixelType = 0x01080001;
    result.m_TimeStamp = 6;
    result.m_SizeX = result.m_SizeY = result.m_OffsetX = result.m_OffsetY = result.m_PaddingX = result.m_PaddingY = 5;
    result.m_BlockId = 4;
    result.m_ErrorCode = 7;
    result.m_ErrorDescription = "old";
    result.m_PayloadSize = 9;
    result.m_PayloadSize64 = 9;
    return result;
}

void ExpectReset(const Tavix::GrabResult& result) {
    EXPECT_EQ(0u, result.GetPayloadSize());
    EXPECT_EQ(Tavix::PayloadType_Undefined, result.GetPayloadType());
    EXPECT_EQ(Tavix::PixelType_Undefined, result.GetPixelType());
    EXPECT_EQ(0u, result.GetTimeStamp());
    for (const std::int32_t number : {result.GetSizeX(), result.GetSizeY(), result.GetOffsetX(), result.GetOffsetY(),
                                      result.GetPaddingX(), result.GetPaddingY()})
        EXPECT_EQ(-1, number);
    EXPECT_EQ(~std::uint64_t(0), result.GetBlockID());
    EXPECT_EQ(0u, result.GetErrorCode());
    EXPECT_EQ("", result.GetErrorDescription());
    EXPECT_EQ(~std::uint64_t(0), result.GetPayloadSize64());
}

TEST_F(StreamGrabber, DeliversNothingAndResetsTheResultWhenNothingHasCompleted) {
    OpenGrabber();
    Tavix::GrabResult result = Used();
    bus.Script("Stream.RetrieveBuffer", {0xE2000106});
    EXPECT_FALSE(grabber().RetrieveResult(result));
    ExpectReset(result);
}

TEST_F(StreamGrabber, LeavesTheResultOfARefusedCallAlone) {
    Tavix::GrabResult result = Used();
    EXPECT_THROW(grabber().RetrieveResult(result), GenICam::LogicalErrorException);
    EXPECT_EQ(7u, result.GetErrorCode());
}

TEST_F(StreamGrabber, ResetsTheResultBeforeItIsFilled) {
    OpenGrabber();
    Tavix::GrabResult result = Used();
    vexlo::CVxStream::GrabResult usb = {};
    usb.Status = kFailure;
    bus.PushResult(usb);
    EXPECT_TRUE(grabber().RetrieveResult(result));
    EXPECT_EQ(kFailureText, result.GetErrorDescription()) << "appended to the old one";
    EXPECT_EQ(-1, result.GetSizeX());
}

TEST_F(StreamGrabber, AsksWithACountOfZero) {
    OpenGrabber();
    Tavix::GrabResult result;
    grabber().RetrieveResult(result);
    EXPECT_EQ(0u, bus.countPreset);
}

TEST_F(StreamGrabber, TakesAnyOtherStatusOfTheRetrievalForSuccess) {
    OpenGrabber();
    Tavix::GrabResult result;
    for (const vexlo::VxStatus status : {kFailure, vexlo::VxStatus(0xE2000107), vexlo::VxStatus(1)}) {
        bus.FailNext("Stream.RetrieveBuffer", status);
        EXPECT_TRUE(grabber().RetrieveResult(result)) << std::hex << status;
    }
}

TEST_F(StreamGrabber, CountsNothingItself) {
    OpenGrabber();
    bus.PushResult({});
    bus.ForgetCalls();
    Tavix::GrabResult result;
    grabber().RetrieveResult(result);
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.RetrieveBuffer"));
}

TEST_F(StreamGrabber, DeliversResultsInOrderAndStaysSignalledWhileSomeAreLeft) {
    Prepare();
    vexlo::CVxStream::GrabResult usb = {};
    for (std::uint64_t id = 0; id < 3; ++id) {
        usb.BlockId = id;
        bus.PushResult(usb);
    }
    Tavix::GrabResult result;
    for (std::uint64_t id = 0; id < 3; ++id) {
        EXPECT_TRUE(grabber().GetWaitObject().Wait(0));
        EXPECT_TRUE(grabber().RetrieveResult(result));
        EXPECT_EQ(id, result.GetBlockID());
        EXPECT_TRUE(result.Succeeded());
    }
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0));
    EXPECT_FALSE(grabber().RetrieveResult(result));
}

TEST_F(StreamGrabber, DeliversWhatCompletedBeforeTheGrabWasFinished) {
    Prepare();
    bus.PushResult({});
    grabber().FinishGrab();
    Tavix::GrabResult result;
    EXPECT_TRUE(grabber().RetrieveResult(result));
}

} // namespace
