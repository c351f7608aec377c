#include "tavixusb/support/StreamGrabberFixture.h"

#include <future>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Buffers.

TEST_F(StreamGrabber, RefusesANullBufferInAnyState) {
    const char kText[] = "Invalid Buffer passed to RegisterBuffer for device %hs'";
    EXPECT_FAILURE(InvalidArgumentException, kStreamFile, kText, grabber().RegisterBuffer(nullptr, 1));
    EXPECT_EQ(1, log.Count(StreamLine(256, kText)));
}

TEST_F(StreamGrabber, RefusesANullBufferWithoutWaitingForItsLock) {
    Prepare();
    const boost::unique_lock<boost::recursive_mutex> held(static_cast<Tavix::CTavixUsbStream&>(grabber()).GetLock());
    auto refused = std::async(std::launch::async, [this] {
        EXPECT_THROW(grabber().RegisterBuffer(nullptr, 1), GenICam::InvalidArgumentException);
    });
    ASSERT_EQ(std::future_status::ready, refused.wait_for(std::chrono::seconds(20)));
}

TEST_F(StreamGrabber, LeavesTheLimitsToTheStream) {
    OpenGrabber();
    Parameter("MaxNumBuffer").SetValue(1);
    Parameter("MaxBufferSize").SetValue(4);
    grabber().PrepareGrab();
    EXPECT_NO_THROW(grabber().RegisterBuffer(image, sizeof image));
    EXPECT_NO_THROW(grabber().RegisterBuffer(image + 1, 15));
}

TEST_F(StreamGrabber, RegistersAndDeregistersBuffers) {
    Prepare();
    const Tavix::StreamBufferHandle handle = grabber().RegisterBuffer(image, sizeof image);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(image, bus.userBuffer);
    EXPECT_EQ(sizeof image, bus.registeredSize);
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
    const Tavix::StreamBufferHandle handle = grabber().RegisterBuffer(image, sizeof image);
    grabber().QueueBuffer(handle, this);
    EXPECT_EQ(handle, bus.queuedHandle);
    EXPECT_EQ(this, bus.queuedContext);
}

TEST_F(StreamGrabber, TellsWhyABufferWasNotQueuedWithoutALogLine) {
    Prepare();
    log.Forget();
    bus.FailNext("Stream.QueueBuffer", kFailure);
    EXPECT_FAILURE(RuntimeException, kStreamFile, "QueueBuffer() failed: text E2000777", grabber().QueueBuffer(image));
    EXPECT_THAT(Said(), IsEmpty());
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
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Preparing grab for device '1:2:3'."),
                                    StreamLine(64, "Prepared grab for device '1:2:3' successfully.")));
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
    EXPECT_THAT(
        Said(),
        ElementsAre(StreamLine(64, "Preparing grab for device '1:2:3'."),
                    StreamLine(256, "PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: 'text E2000777'"),
                    StreamLine(128, "vxFinishGrab grab during clean up failed for device '1:2:3'. Error: 'text "
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

TEST_F(StreamGrabber, WritesALockThatCanOnlyBeWritten) {
    MakeWith(CameraXmlWith(
        "<IntReg Name=\"TLParamsLocked\"><Address>0x200</Address><Length>4</Length><AccessMode>WO</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>"));
    Prepare();
    EXPECT_EQ(1, bus.memory[0x200]);
    grabber().FinishGrab();
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, WritesNoLockThatCanOnlyBeRead) {
    MakeWith(CameraXmlWith(
        "<IntReg Name=\"TLParamsLocked\"><Address>0x200</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>"));
    Prepare();
    grabber().FinishGrab();
    EXPECT_EQ(0, bus.Count("Device.WriteMem"));
}

TEST_F(StreamGrabber, ChecksTheRangeOfItsLock) {
    MakeWith(CameraXmlWith("<Integer Name=\"TLParamsLocked\"><Value>0</Value><Max>0</Max></Integer>"));
    OpenGrabber();
    EXPECT_THROW(grabber().PrepareGrab(), GenICam::OutOfRangeException);
}

TEST_F(StreamGrabber, IsGrabbingOnlyWhenAllElseIsDone) {
    OpenGrabber();
    EXPECT_THAT(CallsAndStates([&] { grabber().PrepareGrab(); }),
                ElementsAre("Stream.PrepareGrab Open", "Stream.StartStreaming Open", "Device.WriteMem Open"));
}

TEST_F(StreamGrabber, IsOpenBeforeAnythingElseIsUndone) {
    Prepare();
    EXPECT_THAT(CallsAndStates([&] { grabber().FinishGrab(); }),
                ElementsAre("Stream.FinishGrab Open", "Device.WriteMem Open"));
}

TEST_F(StreamGrabber, PassesOnThatTheCameraCannotBeUnlockedAndIsOpen) {
    Prepare();
    bus.FailNext("Device.WriteMem", kFailure);
    EXPECT_THROW(grabber().FinishGrab(), GenICam::RuntimeException);
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_NO_THROW(grabber().Close());
}

TEST_F(StreamGrabber, TellsOfTheStreamWhenItCanNeitherFinishNorUnlock) {
    Prepare();
    bus.FailNext("Stream.FinishGrab", kFailure);
    bus.FailNext("Device.WriteMem", 0xE2000001);
    EXPECT_FAILURE(RuntimeException, kStreamFile, "FinishGrab() failed: text E2000777", grabber().FinishGrab());
    EXPECT_EQ(1, log.Count(StreamLine(256, "FinishGrab failed for device '1:2:3'. Error: 'text E2000777'")));
    EXPECT_EQ("Open", Status());
}

TEST_F(StreamGrabber, FinishesAndUnlocksTheCamera) {
    Prepare();
    log.Forget();
    bus.ForgetCalls();
    grabber().FinishGrab();
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.FinishGrab", "Device.WriteMem"));
    EXPECT_EQ(0, bus.memory[0x200]);
    EXPECT_EQ("Open", Status());
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Finishing grab for device '1:2:3'."),
                                    StreamLine(64, "Finished grab for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, IsOpenAndUnlocksTheCameraAlsoWhenItCannotFinish) {
    Prepare();
    log.Forget();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_FAILURE(RuntimeException, kStreamFile, "FinishGrab() failed: text E2000777", grabber().FinishGrab());
    EXPECT_EQ(1, log.Count(StreamLine(256, "FinishGrab failed for device '1:2:3'. Error: 'text E2000777'")));
    EXPECT_EQ("Open", Status());
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabber, FinishesNoGrabThatTheStreamDoesNotKnow) {
    Prepare();
    bus.stream.prepared = false;
    grabber().FinishGrab();
    EXPECT_EQ(0, bus.Count("Stream.FinishGrab"));
    EXPECT_EQ(0, bus.memory[0x200]);
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
    EXPECT_THAT(Said(), ElementsAre(StreamLine(64, "Cancelling grab for device '1:2:3'."),
                                    StreamLine(64, "Cancelled grab for device '1:2:3' successfully.")));
}

TEST_F(StreamGrabber, TellsWhyItCannotCancel) {
    Prepare();
    bus.FailNext("Stream.CancelGrab", kFailure);
    ExpectFailure("CancelGrab failed for device '1:2:3'. Error: 'text E2000777'", [&] { grabber().CancelGrab(); });
    EXPECT_EQ("Grabbing", Status());
}

TEST_F(StreamGrabber, NamesBothSizesOfABufferThatIsTooLarge) {
    Prepare();
    bus.FailNext("Stream.RegisterBuffer", vexlo::VX_E_INVALID_SIZE);
    ExpectFailure(
        "Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E200000A The buffer has 200000 "
        "bytes, and MaxBufferSize allows 131072.'",
        [&] { grabber().RegisterBuffer(image, 200000); });
}

TEST_F(StreamGrabber, SaysNothingOfSizesWhereTheyAreNotTheReason) {
    Prepare();
    bus.FailNext("Stream.RegisterBuffer", vexlo::VX_E_INVALID_SIZE);
    ExpectFailure("Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E200000A'",
                  [&] { grabber().RegisterBuffer(image, 131072); });
    bus.FailNext("Stream.RegisterBuffer", kFailure);
    ExpectFailure("Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E2000777'",
                  [&] { grabber().RegisterBuffer(image, 200000); });
}

TEST_F(StreamGrabber, NamesSizesThatThirtyTwoBitsCannotCount) {
    OpenGrabber();
    Parameter("MaxBufferSize").SetValue(0x1'0000'0001);
    grabber().PrepareGrab();
    bus.FailNext("Stream.RegisterBuffer", vexlo::VX_E_INVALID_SIZE);
    ExpectFailure(
        "Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E200000A The buffer has 4294967298 "
        "bytes, and MaxBufferSize allows 4294967297.'",
        [&] { grabber().RegisterBuffer(image, 0x1'0000'0002); });
}

TEST_F(StreamGrabber, IsOpenUntilTheStreamIsClosed) {
    OpenGrabber();
    EXPECT_THAT(CallsAndStates([&] { grabber().Close(); }), ElementsAre("Stream.Close Open"));
    EXPECT_EQ("Closed", Status());
}

TEST_F(StreamGrabber, PreparesBuffersLargerThanThirtyTwoBitsCanCount) {
    OpenGrabber();
    Parameter("MaxBufferSize").SetValue(0x1'0000'0001);
    grabber().PrepareGrab();
    EXPECT_EQ(0x1'0000'0001u, bus.preparedSize);
}

TEST_F(StreamGrabber, VerifiesTheLockOfTheCameraBothWays) {
    for (const auto& [limits, step] :
         {std::pair<const char*, void (*)(Tavix::IStreamGrabber&)>{"<Min>2</Min>", [](auto& g) { g.PrepareGrab(); }},
          {"<Min>1</Min>", [](auto& g) {
               g.PrepareGrab();
               g.FinishGrab();
           }}}) {
        MakeWith(CameraXmlWith(std::string(R"(<Integer Name="TLParamsLocked"><pValue>LockReg</pValue>)") + limits +
                               R"(</Integer><IntReg Name="LockReg"><Address>0x200</Address><Length>4</Length>
            <AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>)"));
        OpenGrabber();
        EXPECT_THROW(step(grabber()), GenICam::OutOfRangeException) << limits;
    }
}

} // namespace
