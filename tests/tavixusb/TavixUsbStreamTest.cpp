#include "TavixUsbStream.h"

#include "support/DeviceTest.h"

#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kStream[] = "Tavix.USB.Stream";
constexpr char kFile[] = "TavixUsbStream.cpp";

LogLine Line(unsigned int level, const std::string& text) {
    return {kStream, level, text};
}

class StreamGrabber : public DeviceTest {
protected:
    StreamGrabber() { Load(CameraXml()); }

    Tavix::IStreamGrabber& grabber() { return *device->GetStreamGrabber(0); }
    GenApi::IInteger& Parameter(const char* name) { return Integer(grabber().GetNodeMap(), name); }
    std::string Status() {
        return GenApi::CEnumerationPtr(grabber().GetNodeMap()->GetNode("Status"))->ToString().c_str();
    }
    void OpenGrabber() {
        Open();
        grabber().Open();
    }
    void Prepare() {
        OpenGrabber();
        grabber().PrepareGrab();
    }
    void RefusesIn(const char* state, const char* operation, const std::function<void()>& call) {
        const std::string text =
            std::string("Invalid stream grabber state '") + state + "' in " + operation + " for device '1:2:3'.";
        log.Forget();
        EXPECT_FAILURE(LogicalErrorException, kFile, text, call());
        EXPECT_EQ(1, log.Count(Line(256, text)));
    }
    void ExpectFailure(const std::string& text, const std::function<void()>& call) {
        log.Forget();
        EXPECT_FAILURE(RuntimeException, kFile, text, call());
        EXPECT_EQ(1, log.Count(Line(256, text)));
    }

    unsigned char image[16] = {};
};

// Construction and destruction.

TEST_F(StreamGrabber, IsMadeClosedWithItsParameters) {
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ("Closed", Status());
    EXPECT_TRUE(grabber().GetWaitObject().IsValid());
    EXPECT_EQ(1, log.Count(Line(64, "Creating stream grabber for device '1:2:3'.")));
    EXPECT_EQ(1, log.Count(Line(64, "Created stream grabber for device '1:2:3' successfully.")));
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
    EXPECT_EQ(1, log.Count(Line(256, "Failed to create stream grabber for device '1:2:3'. Error: 'text E2000777'")));
    EXPECT_THROW(Parameter("NumMaxQueuedUrbs").GetValue(), GenICam::GenericException);
    OpenGrabber();
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_NO_THROW(Parameter("NumMaxQueuedUrbs").GetValue());
}

TEST_F(StreamGrabber, SaysThatItIsDestroyed) {
    log.Forget();
    Destroy();
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Destroying stream grabber for device '1:2:3'."),
                                               Line(64, "Destroyed stream grabber for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, ClosesOnDestructionAndWarns) {
    OpenGrabber();
    grabber().PrepareGrab();
    bus.FailNext("Stream.FinishGrab", kFailure); // keeps the device from closing its grabber
    Destroy();
    EXPECT_EQ(1, log.Count(Line(128, "Streamg rabber still open on destruction. Call IStreamGrabber::Close before "
                                     "destroying the stream grabber/device")));
    EXPECT_EQ(1, bus.Count("Stream.Close"));
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
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Opening stream grabber for device '1:2:3'"),
                                               Line(64, "Opened stream grabber for device '1:2:3' successfully")));
}

TEST_F(StreamGrabber, RefusesToOpenTwice) {
    OpenGrabber();
    log.Forget();
    EXPECT_FAILURE(LogicalErrorException, kFile, "Stream fro device '1:2:3' is already open", grabber().Open());
    EXPECT_EQ(1, log.Count(Line(256, "Stream fro device '1:2:3' is already open")));
}

TEST_F(StreamGrabber, RefusesToOpenOnAClosedDevice) {
    const char kText[] = "Device '1:2:3' is not opened. Open device before opening the stream grabber!";
    EXPECT_FAILURE(LogicalErrorException, kFile, kText, grabber().Open());
    EXPECT_EQ(1, log.Count(Line(256, kText)));
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(StreamGrabber, OpensForACameraWithoutLockAndWarns) {
    Destroy();
    Make();
    Load(CameraXmlWithoutLock());
    Prepare();
    grabber().FinishGrab();
    EXPECT_EQ(1, log.Count(Line(128, "Device '1:2:3' doesn't provide TLParamsLocked feature.")));
}

TEST_F(StreamGrabber, OpensForADeviceWithoutNodeMap) {
    Destroy();
    Make();
    EXPECT_NO_THROW(Prepare());
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
    EXPECT_FAILURE(RuntimeException, kFile, "Internal fatal error (m_pVxStream == NULL )", grabber().Open());
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
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Closing stream grabber for device '1:2:3'."),
                                               Line(64, "Closed stream grabber for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, MayBeClosedWhenClosed) {
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_EQ(0, bus.Count("Stream.Close"));
}

TEST_F(StreamGrabber, IsClosedAlsoWhenTheStreamDoesNotClose) {
    OpenGrabber();
    bus.FailNext("Stream.Close", kFailure);
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(1, log.Count(Line(128, "Failed to close vx stream grabber for device '1:2:3'. Error: 'text E2000777'")));
}

TEST_F(StreamGrabber, FinishesAGrabWhenItIsClosed) {
    Prepare();
    log.Forget();
    grabber().Close();
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ(1, log.Count(Line(128, "Stream grabber for device '1:2:3' still grabbing. Call "
                                     "ITavix::Streamgrabber::FinishGrab before closing the stream grabber.")));
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, PassesOnThatItsGrabCannotBeFinishedAndStaysOpen) {
    Prepare();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_FAILURE(RuntimeException, kFile, "FinishGrab() failed: text E2000777", grabber().Close());
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_EQ("Open", Status());
}

// What is refused in each state.

TEST_F(StreamGrabber, RefusesEverythingButOpenAndCloseWhenClosed) {
    Open();
    Tavix::GrabResult result;
    RefusesIn("Closed", "PrepareGrab", [&] { grabber().PrepareGrab(); });
    RefusesIn("Closed", "FinishGrab", [&] { grabber().FinishGrab(); });
    RefusesIn("Closed", "CancelGrab", [&] { grabber().CancelGrab(); });
    RefusesIn("Closed", "QueueBuffer", [&] { grabber().QueueBuffer(nullptr); });
    RefusesIn("Closed", "RegisterBuffer", [&] { grabber().RegisterBuffer(image, sizeof image); });
    RefusesIn("Closed", "RegisterBuffer", [&] { grabber().DeregisterBuffer(nullptr); }); // sic
    const char kText[] = "Stream grabber not open when calling RetrievResult for device '1:2:3'.";
    EXPECT_FAILURE(LogicalErrorException, kFile, kText, grabber().RetrieveResult(result));
    EXPECT_EQ(1, log.Count(Line(256, kText)));
}

TEST_F(StreamGrabber, RefusesToGrabBeforePrepareGrab) {
    OpenGrabber();
    RefusesIn("Open", "FinishGrab", [&] { grabber().FinishGrab(); });
    RefusesIn("Open", "CancelGrab", [&] { grabber().CancelGrab(); });
    RefusesIn("Open", "QueueBuffer", [&] { grabber().QueueBuffer(nullptr); });
    RefusesIn("Open", "RegisterBuffer", [&] { grabber().RegisterBuffer(image, sizeof image); });
}

TEST_F(StreamGrabber, RefusesToPrepareTwice) {
    Prepare();
    RefusesIn("Grabbing", "PrepareGrab", [&] { grabber().PrepareGrab(); });
}

// Buffers.

TEST_F(StreamGrabber, RefusesANullBufferInAnyState) {
    const char kText[] = "Invalid Buffer passed to RegisterBuffer for device %hs'";
    EXPECT_FAILURE(InvalidArgumentException, kFile, kText, grabber().RegisterBuffer(nullptr, 1));
    EXPECT_EQ(1, log.Count(Line(256, kText)));
}

TEST_F(StreamGrabber, RegistersAndDeregistersBuffers) {
    Prepare();
    const Tavix::StreamBufferHandle handle = grabber().RegisterBuffer(image, sizeof image);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(image, grabber().DeregisterBuffer(handle));
}

TEST_F(StreamGrabber, DeregistersBuffersAlsoAfterFinishGrab) {
    Prepare();
    const Tavix::StreamBufferHandle handle = grabber().RegisterBuffer(image, sizeof image);
    grabber().FinishGrab();
    EXPECT_EQ(image, grabber().DeregisterBuffer(handle));
}

TEST_F(StreamGrabber, TellsWhyABufferWasNotRegistered) {
    Prepare();
    bus.FailNext("Stream.RegisterBuffer", kFailure);
    ExpectFailure("Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().RegisterBuffer(image, sizeof image); });
}

TEST_F(StreamGrabber, TellsWhyABufferWasNotDeregistered) {
    Prepare();
    const Tavix::StreamBufferHandle handle = grabber().RegisterBuffer(image, sizeof image);
    bus.FailNext("Stream.DeregisterBuffer", kFailure);
    ExpectFailure("Failed to deregister buffer at vx stream for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().DeregisterBuffer(handle); });
}

TEST_F(StreamGrabber, QueuesABufferWithItsContext) {
    Prepare();
    grabber().QueueBuffer(grabber().RegisterBuffer(image, sizeof image), this);
    EXPECT_EQ(this, bus.queuedContext);
}

TEST_F(StreamGrabber, TellsWhyABufferWasNotQueuedWithoutALogLine) {
    Prepare();
    log.Forget();
    bus.FailNext("Stream.QueueBuffer", kFailure);
    EXPECT_FAILURE(RuntimeException, kFile, "QueueBuffer() failed: text E2000777", grabber().QueueBuffer(image));
    EXPECT_THAT(log.From(kStream), IsEmpty());
}

// Preparing and finishing.

TEST_F(StreamGrabber, PreparesWithItsParametersAndLocksTheCamera) {
    OpenGrabber();
    Parameter("MaxNumBuffer").SetValue(5);
    Parameter("MaxBufferSize").SetValue(4711);
    log.Forget();
    bus.ForgetCalls();
    grabber().PrepareGrab();
    EXPECT_EQ(5u, bus.preparedBuffers);
    EXPECT_EQ(4711u, bus.preparedSize);
    EXPECT_EQ(1, bus.memory[0x200]);
    EXPECT_EQ("Grabbing", Status());
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.PrepareGrab", "Stream.StartStreaming", "Device.WriteMem"));
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Preparing grab for device '1:2:3'."),
                                               Line(64, "Prepared grab for device '1:2:3' successfully.")));
    EXPECT_THROW(Parameter("MaxNumBuffer").SetValue(6), GenICam::AccessException);
}

TEST_F(StreamGrabber, TellsWhyItCannotPrepare) {
    OpenGrabber();
    bus.FailNext("Stream.PrepareGrab", kFailure);
    ExpectFailure("PrepareGrab failed for device '1:2:3'. Error: 'text E2000777'", [&] { grabber().PrepareGrab(); });
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(0, bus.Count("Stream.StartStreaming"));
}

TEST_F(StreamGrabber, UndoesThePreparationWhenStreamingDoesNotStart) {
    OpenGrabber();
    bus.FailNext("Stream.StartStreaming", kFailure);
    ExpectFailure("PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().PrepareGrab(); });
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, TellsOfStreamingAlsoWhenTheUndoFails) {
    OpenGrabber();
    bus.FailNext("Stream.StartStreaming", kFailure);
    bus.FailNext("Stream.FinishGrab", 0xE2000001);
    ExpectFailure("PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().PrepareGrab(); });
    EXPECT_EQ(1, log.Count(Line(128, "vxFinishGrab grab during clean up failed for device '1:2:3'. Error: 'text "
                                     "E2000001'")));
}

TEST_F(StreamGrabber, UndoesThePreparationWhenTheCameraCannotBeLocked) {
    OpenGrabber();
    bus.FailNext("Device.WriteMem", kFailure);
    EXPECT_THROW(grabber().PrepareGrab(), GenICam::RuntimeException);
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ("Open", Status());
    EXPECT_NO_THROW(grabber().PrepareGrab());
}

TEST_F(StreamGrabber, LeavesALockAloneThatItMayNotWrite) {
    device->Open(Tavix::AccessModeSet(1 << Tavix::Stream)); // read only
    grabber().Open();
    grabber().PrepareGrab();
    grabber().FinishGrab();
    EXPECT_EQ(0, bus.Count("Device.WriteMem"));
}

TEST_F(StreamGrabber, FinishesAndUnlocksTheCamera) {
    Prepare();
    log.Forget();
    bus.ForgetCalls();
    grabber().FinishGrab();
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.FinishGrab", "Device.WriteMem"));
    EXPECT_EQ(0, bus.memory[0x200]);
    EXPECT_EQ("Open", Status());
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Finishing grab for device '1:2:3'."),
                                               Line(64, "Finished grab for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, IsOpenAndUnlocksTheCameraAlsoWhenItCannotFinish) {
    Prepare();
    log.Forget();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_FAILURE(RuntimeException, kFile, "FinishGrab() failed: text E2000777", grabber().FinishGrab());
    EXPECT_EQ(1, log.Count(Line(256, "FinishGrab failed for device '1:2:3'. Error: 'text E2000777'")));
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, FinishesNoGrabThatTheStreamDoesNotKnow) {
    Prepare();
    bus.stream.prepared = false;
    grabber().FinishGrab();
    EXPECT_EQ(0, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ("Open", Status());
}

TEST_F(StreamGrabber, GrabsAgainAfterItHasFinished) {
    Prepare();
    grabber().FinishGrab();
    EXPECT_NO_THROW(grabber().PrepareGrab());
}

TEST_F(StreamGrabber, CancelsAndGoesOnGrabbing) {
    Prepare();
    log.Forget();
    grabber().CancelGrab();
    EXPECT_EQ("Grabbing", Status());
    EXPECT_EQ(1, bus.Count("Stream.CancelGrab"));
    EXPECT_THAT(log.From(kStream), ElementsAre(Line(64, "Cancelling grab for device '1:2:3'."),
                                               Line(64, "Cancelled grab for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, TellsWhyItCannotCancel) {
    Prepare();
    bus.FailNext("Stream.CancelGrab", kFailure);
    ExpectFailure("CancelGrab failed for device '1:2:3'. Error: 'text E2000777'", [&] { grabber().CancelGrab(); });
    EXPECT_EQ("Grabbing", Status());
}

// Results.

TEST_F(StreamGrabber, DeliversNothingAndResetsTheResultWhenNothingHasCompleted) {
    OpenGrabber();
    Tavix::GrabResult result;
    result.m_PayloadType = Tavix::PayloadType_Image;
    result.m_SizeX = 5;
    result.m_ErrorCode = 7;
    result.m_ErrorDescription = "old";
    result.m_PayloadSize = 9;
    EXPECT_FALSE(grabber().RetrieveResult(result));
    EXPECT_EQ(Tavix::PayloadType_Undefined, result.GetPayloadType());
    EXPECT_EQ(-1, result.GetSizeX());
    EXPECT_EQ(0u, result.GetErrorCode());
    EXPECT_EQ("", result.GetErrorDescription());
    EXPECT_EQ(0u, result.GetPayloadSize());
    EXPECT_EQ(~std::uint64_t(0), result.GetPayloadSize64());
    EXPECT_EQ(~std::uint64_t(0), result.GetBlockID());
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
