#include "tavixusb/support/StreamGrabberFixture.h"

#include <GenApi/NodeCallback.h>

#include <future>

using testing::ElementsAre;

namespace {

// Construction and destruction.

TEST_F(StreamGrabber, IsMadeClosedWithItsParameters) {
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ("Closed", Status());
    EXPECT_TRUE(grabber().GetWaitObject().IsValid());
    EXPECT_EQ(1, log.Count(StreamLine(64, "Creating stream grabber for device '1:2:3'.")));
    EXPECT_EQ(1, log.Count(StreamLine(64, "Created stream grabber for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, ServesItsParametersFromTheStreamBeforeItIsOpen) {
    bus.streamProperties[0x200] = FakeVexlo::Number(64, 4);
    EXPECT_EQ(64, Parameter("NumMaxQueuedUrbs").GetValue());
}

TEST_F(StreamGrabber, IsMadeThoughThereIsNoStreamYetAndAsksAgain) {
    Destroy();
    bus.FailNext("Device.GetStream", kFailure);
    log.Forget();
    Make();
    Load(CameraXml());
    EXPECT_EQ(1,
              log.Count(StreamLine(256, "Failed to create stream grabber for device '1:2:3'. Error: 'text E2000777'")));
    EXPECT_THROW(Parameter("NumMaxQueuedUrbs").GetValue(), GenICam::GenericException);
    OpenGrabber();
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_NO_THROW(Parameter("NumMaxQueuedUrbs").GetValue());
}

TEST_F(StreamGrabber, SaysThatItIsDestroyed) {
    log.Forget();
    Destroy();
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Destroying stream grabber for device '1:2:3'."),
                                    StreamLine(64, "Destroyed stream grabber for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, ClosesOnDestructionAndWarns) {
    OpenGrabber();
    grabber().PrepareGrab();
    bus.FailNext("Stream.FinishGrab", kFailure); // keeps the device from closing its grabber
    Destroy();
    EXPECT_EQ(1,
              log.Count(StreamLine(128, "Streamg rabber still open on destruction. Call IStreamGrabber::Close before "
                                        "destroying the stream grabber/device")));
    EXPECT_EQ(1, bus.Count("Stream.Close"));
}

TEST_F(StreamGrabber, IsDestroyedAlsoWhenACallbackThrows) {
    Prepare();
    GenApi::Register(Parameter("StatusReg").GetNode(), [](GenApi::INode*) { throw 1; });
    Destroy();
    EXPECT_EQ(1, log.Count(StreamLine(256, "Failed to close stream grabber for device '1:2:3' on destruction.")));
    EXPECT_EQ(1, log.Count(StreamLine(64, "Destroyed stream grabber for device '1:2:3' successfully.")));
    EXPECT_EQ(1, bus.Count("DestroyDevice"));
}

// Open.

TEST_F(StreamGrabber, OpensTheStreamWithItsWaitObject) {
    Open();
    log.Forget();
    bus.ForgetCalls();
    grabber().Open();
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_EQ("Open", Status());
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.RegisterWaitObject", "Stream.Open"));
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Opening stream grabber for device '1:2:3'"),
                                    StreamLine(64, "Opened stream grabber for device '1:2:3' successfully")));
}

TEST_F(StreamGrabber, RefusesToOpenTwice) {
    OpenGrabber();
    log.Forget();
    EXPECT_FAILURE(LogicalErrorException, kStreamFile, "Stream fro device '1:2:3' is already open", grabber().Open());
    EXPECT_EQ(1, log.Count(StreamLine(256, "Stream fro device '1:2:3' is already open")));
}

TEST_F(StreamGrabber, RefusesToOpenOnAClosedDevice) {
    const char kText[] = "Device '1:2:3' is not opened. Open device before opening the stream grabber!";
    EXPECT_FAILURE(LogicalErrorException, kStreamFile, kText, grabber().Open());
    EXPECT_EQ(1, log.Count(StreamLine(256, kText)));
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(StreamGrabber, OpensForACameraWithoutLockAndWarns) {
    Destroy();
    Make();
    Load(CameraXmlWithoutLock());
    Prepare();
    grabber().FinishGrab();
    EXPECT_EQ(1, log.Count(StreamLine(128, "Device '1:2:3' doesn't provide TLParamsLocked feature.")));
}

TEST_F(StreamGrabber, OpensForADeviceWithoutNodeMap) {
    Destroy();
    Make();
    EXPECT_NO_THROW(Prepare());
    EXPECT_EQ(1, log.Count(StreamLine(128, "Device '1:2:3' doesn't provide TLParamsLocked feature.")));
}

TEST_F(StreamGrabber, WantsAnIntegerForItsLock) {
    MakeWith(CameraXmlWith("<Boolean Name=\"TLParamsLocked\"><Value>0</Value></Boolean>"));
    OpenGrabber();
    EXPECT_EQ(1, log.Count(StreamLine(128, "Device '1:2:3' doesn't provide TLParamsLocked feature.")));
}

TEST_F(StreamGrabber, LooksForItsLockAgainAtEachOpen) {
    Destroy();
    Make();
    OpenGrabber();
    grabber().Close();
    Load(CameraXml());
    log.Forget();
    grabber().Open();
    EXPECT_EQ(0, log.Count(StreamLine(128, "Device '1:2:3' doesn't provide TLParamsLocked feature.")));
    grabber().PrepareGrab();
    EXPECT_EQ(1, bus.memory[0x200]);
}

TEST_F(StreamGrabber, TakesTheDevicesWordThatItIsOpenWhenItHasAStream) {
    Open();
    bus.deviceSaysItIsOpen = false;
    EXPECT_NO_THROW(grabber().Open());
}

TEST_F(StreamGrabber, AsksTheUsbDeviceWhetherItIsOpenWhenItHasNoStream) {
    Destroy();
    bus.FailNext("Device.GetStream", kFailure);
    Make();
    Open();
    bus.ForgetCalls();
    bus.deviceSaysItIsOpen = false;
    EXPECT_FAILURE(LogicalErrorException, kStreamFile,
                   "Device '1:2:3' is not opened. Open device before opening the stream grabber!", grabber().Open());
    EXPECT_EQ(0, bus.Count("Device.GetStream")) << "asked for a stream of a closed device";
}

TEST_F(StreamGrabber, OpensWhenOnlyTheUsbDeviceIsOpen) {
    bus.deviceSaysItIsOpen = true;
    EXPECT_NO_THROW(grabber().Open());
}

TEST_F(StreamGrabber, DoesNotOpenWithoutStream) {
    Destroy();
    bus.FailNext("Device.GetStream", kFailure);
    Make();
    Open();
    bus.FailNext("Device.GetStream", kFailure);
    ExpectFailure("Failed to create vx stream grabber for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().Open(); });
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_NO_THROW(grabber().Open());
}

TEST_F(StreamGrabber, NoticesThatAStreamWasPromisedButNotGiven) {
    Destroy();
    bus.hasStream = false;
    Make();
    Open();
    log.Forget();
    EXPECT_FAILURE(RuntimeException, kStreamFile, "Internal fatal error (m_pVxStream == NULL )", grabber().Open());
    for (const LogLine& line : Said())
        EXPECT_NE(256u, line.level) << line;
}

TEST_F(StreamGrabber, DoesNotOpenWithoutWaitObjectAndAsksForTheStreamAgain) {
    Open();
    bus.FailNext("Stream.RegisterWaitObject", kFailure);
    ExpectFailure("Failed to register wait object for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().Open(); });
    bus.ForgetCalls();
    grabber().Open();
    EXPECT_EQ(1, bus.Count("Device.GetStream"));
    EXPECT_TRUE(grabber().IsOpen());
}

TEST_F(StreamGrabber, ClosesAStreamThatDoesNotOpen) {
    Open();
    bus.FailNext("Stream.Open", kFailure);
    ExpectFailure("Failed to open vx stream grabber for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().Open(); });
    EXPECT_EQ(1, bus.Count("Stream.Close"));
    EXPECT_FALSE(grabber().IsOpen());
}

// Close.

TEST_F(StreamGrabber, ClosesTheStream) {
    OpenGrabber();
    log.Forget();
    grabber().Close();
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ("Closed", Status());
    EXPECT_EQ(1, bus.Count("Stream.Close"));
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Closing stream grabber for device '1:2:3'."),
                                    StreamLine(64, "Closed stream grabber for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, MayBeClosedWhenClosed) {
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_EQ(0, bus.Count("Stream.Close"));
}

TEST_F(StreamGrabber, ClosesNoStreamOfADeviceThatIsClosed) {
    OpenGrabber();
    bus.deviceSaysItIsOpen = false;
    grabber().Close();
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(0, bus.Count("Stream.Close"));
}

TEST_F(StreamGrabber, ClosesNoStreamThatIsClosed) {
    OpenGrabber();
    bus.streamSaysItIsOpen = false;
    grabber().Close();
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(0, bus.Count("Stream.Close"));
}

TEST_F(StreamGrabber, MayBeClosedWithoutStream) {
    Open();
    bus.FailNext("Stream.RegisterWaitObject", kFailure); // which takes the stream away
    EXPECT_THROW(grabber().Open(), GenICam::RuntimeException);
    EXPECT_NO_THROW(grabber().Close());
}

TEST_F(StreamGrabber, IsClosedAlsoWhenTheStreamDoesNotClose) {
    OpenGrabber();
    bus.FailNext("Stream.Close", kFailure);
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(
        1, log.Count(StreamLine(128, "Failed to close vx stream grabber for device '1:2:3'. Error: 'text E2000777'")));
}

TEST_F(StreamGrabber, FinishesAGrabWhenItIsClosed) {
    Prepare();
    log.Forget();
    grabber().Close();
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ(1, log.Count(StreamLine(128, "Stream grabber for device '1:2:3' still grabbing. Call "
                                           "ITavix::Streamgrabber::FinishGrab before closing the stream grabber.")));
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, PassesOnThatItsGrabCannotBeFinishedAndStaysOpen) {
    Prepare();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_FAILURE(RuntimeException, kStreamFile, "FinishGrab() failed: text E2000777", grabber().Close());
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(0, bus.Count("Stream.Close"));
    EXPECT_TRUE(std::async(std::launch::async, [this] { return grabber().IsOpen(); }).get())
        << "the lock is still held";
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_FALSE(grabber().IsOpen());
}

} // namespace
