#include "event/TavixUsbEventGrabber.h"

#include "device/VxDevicePtr.h"
#include "tavixusb/support/DeviceFixture.h"

#include <GenApi/NodeCallback.h>

#include <functional>
#include <future>

using testing::ElementsAre;

namespace {

constexpr char kEvents[] = "Tavix.USB.EventStream";
constexpr char kEventFile[] = "TavixUsbEventGrabber.cpp";

class EventGrabber : public DeviceFixture {
protected:
    Tavix::IEventGrabber& grabber() {
        if (!device->IsOpen()) Open();
        return *device->GetEventGrabber();
    }
    GenApi::IInteger& Parameter(const char* name) { return Integer(grabber().GetNodeMap(), name); }
    std::vector<std::string> CallsAndStates(const std::function<void()>& step) {
        std::vector<std::string> seen;
        GenApi::IInteger& state = Parameter("StatusReg");
        bus.onCall = [&](const std::string& call) { seen.push_back(call + (state.GetValue() ? " open" : " closed")); };
        step();
        bus.onCall = nullptr;
        return seen;
    }
    /// The statement fails without a line about it.
    void ExpectSilentFailure(const std::string& text, const std::function<void()>& call) {
        log.Forget();
        EXPECT_THROW(
            {
                try {
                    call();
                } catch (const GenICam::GenericException& failure) {
                    EXPECT_EQ(text, failure.GetDescription());
                    throw;
                }
            },
            GenICam::GenericException);
        EXPECT_THAT(log.From(kEvents), testing::IsEmpty());
    }
    void ExpectFailure(const std::string& text, const std::function<void()>& call) {
        EXPECT_FAILURE(RuntimeException, kEventFile, text, call());
        EXPECT_EQ(1, log.Count({kEvents, 256, text}));
    }

    Tavix::EventResult result;
};

TEST_F(EventGrabber, VerifiesItsStateBothWaysAndReadsItAsItIs) {
    GenApi::INode& status = *Parameter("StatusReg").GetNode();
    status.ImposeAccessMode(GenApi::RO);
    EXPECT_THROW(grabber().Open(), GenICam::AccessException);
    status.ImposeAccessMode(GenApi::RW);
    grabber().Open();
    status.ImposeAccessMode(GenApi::RO);
    EXPECT_THROW(grabber().Close(), GenICam::AccessException);
    status.ImposeAccessMode(GenApi::WO);
    EXPECT_TRUE(grabber().IsOpen());
    status.ImposeAccessMode(GenApi::RW);
}

TEST_F(EventGrabber, IsMadeClosed) {
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(0, Parameter("StatusReg").GetValue());
    EXPECT_TRUE(grabber().GetWaitObject().IsValid());
}

TEST_F(EventGrabber, IsMadeThoughThereIsNoEventStreamYetAndAsksAgain) {
    Destroy();
    bus.FailNext("Device.GetEventStream", kFailure);
    Make();
    EXPECT_EQ(1, log.Count({kEvents, 256, "Failed to create event stream grabber: text E2000777"}));
    EXPECT_NO_THROW(grabber().Open());
    EXPECT_TRUE(grabber().IsOpen());
}

TEST_F(EventGrabber, OpensTheEventStreamWithItsWaitObject) {
    Open();
    bus.ForgetCalls();
    grabber().Open();
    EXPECT_TRUE(grabber().IsOpen());
    EXPECT_EQ(1, Parameter("StatusReg").GetValue());
    EXPECT_THAT(bus.Calls(), ElementsAre("Events.RegisterWaitObject", "Events.Open"));
}

TEST_F(EventGrabber, ServesItsParametersFromTheEventStreamBeforeItIsOpen) {
    bus.eventProperties[0x200] = FakeVexlo::Number(64, 4);
    EXPECT_EQ(64, Parameter("NumBuffer").GetValue());
}

TEST_F(EventGrabber, IsOpenWhenAllElseIsDone) {
    EXPECT_THAT(CallsAndStates([this] { grabber().Open(); }),
                ElementsAre("Events.RegisterWaitObject closed", "Events.Open closed"));
}

TEST_F(EventGrabber, IsClosedWhenTheEventStreamIs) {
    grabber().Open();
    EXPECT_THAT(CallsAndStates([this] { grabber().Close(); }), ElementsAre("Events.Close open"));
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(EventGrabber, HoldsItsStateInItsNodeMapAlone) {
    Parameter("StatusReg").SetValue(1);
    EXPECT_TRUE(grabber().IsOpen());
    Parameter("StatusReg").SetValue(0);
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(EventGrabber, SpeaksOfWrongUseWithoutALogLine) {
    grabber().Open();
    ExpectSilentFailure("Event grabber already open.", [this] { grabber().Open(); });
    grabber().Close();
    ExpectSilentFailure("Event grabber not open.", [this] { grabber().RetrieveEvent(result); });
}

TEST_F(EventGrabber, RefusesToOpenTwice) {
    grabber().Open();
    EXPECT_FAILURE(LogicalErrorException, kEventFile, "Event grabber already open.", grabber().Open());
    EXPECT_TRUE(grabber().IsOpen());
}

TEST_F(EventGrabber, RefusesToOpenOnAClosedDevice) {
    Tavix::IEventGrabber& events = grabber();
    device->Close();
    EXPECT_FAILURE(LogicalErrorException, kEventFile,
                   "Device is not opened. Open the device before opening the event stream!", events.Open());
    EXPECT_EQ(1, log.Count({kEvents, 256, "Device is not open"}));
}

TEST_F(EventGrabber, DoesNotOpenWithoutEventStream) {
    Destroy();
    bus.FailNext("Device.GetEventStream", kFailure);
    Make();
    log.Forget();
    bus.FailNext("Device.GetEventStream", kFailure);
    ExpectFailure("Failed to create event stream grabber: text E2000777", [&] { grabber().Open(); });
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(EventGrabber, NoticesThatAnEventStreamWasPromisedButNotGiven) {
    Destroy();
    bus.hasEvents = false;
    Make();
    EXPECT_FAILURE(RuntimeException, kEventFile, "Internal fatal error (m_pVxEventStream == NULL )", grabber().Open());
    ExpectSilentFailure("Internal fatal error (m_pVxEventStream == NULL )", [this] { grabber().Open(); });
}

TEST_F(EventGrabber, DoesNotOpenWithoutWaitObjectAndAsksForTheEventStreamAgain) {
    bus.FailNext("Events.RegisterWaitObject", kFailure);
    ExpectFailure("Failed to register wait object: text E2000777", [&] { grabber().Open(); });
    bus.ForgetCalls();
    grabber().Open();
    EXPECT_EQ(1, bus.Count("Device.GetEventStream"));
}

TEST_F(EventGrabber, ClosesAnEventStreamThatDoesNotOpen) {
    bus.FailNext("Events.Open", kFailure);
    ExpectFailure("Failed to open event stream grabber: text E2000777", [&] { grabber().Open(); });
    EXPECT_EQ(1, bus.Count("Events.Close"));
    EXPECT_FALSE(grabber().IsOpen());
}

TEST_F(EventGrabber, ClosesTheEventStream) {
    grabber().Open();
    grabber().Close();
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(0, Parameter("StatusReg").GetValue());
    EXPECT_EQ(1, bus.Count("Events.Close"));
}

TEST_F(EventGrabber, MayBeClosedWhenClosed) {
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_EQ(0, bus.Count("Events.Close"));
    EXPECT_EQ(0, Parameter("StatusReg").GetValue());
}

TEST_F(EventGrabber, IsClosedAlsoWhenTheEventStreamDoesNotClose) {
    grabber().Open();
    bus.FailNext("Events.Close", kFailure);
    EXPECT_NO_THROW(grabber().Close());
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_EQ(1, log.Count({kEvents, 256, "Failed to close event stream grabber: text E2000777"}));
}

TEST_F(EventGrabber, SurvivesACallbackThatThrowsOnDestruction) {
    grabber().Open();
    GenApi::Register(Parameter("StatusReg").GetNode(), [](GenApi::INode*) { throw 1; });
    Destroy();
    EXPECT_EQ(1, log.Count({kEvents, 256, "Failed to close event stream grabber on destruction."}));
    EXPECT_EQ(1, bus.Count("DestroyDevice"));
}

TEST_F(EventGrabber, RefusesToDeliverWhenClosed) {
    EXPECT_FAILURE(LogicalErrorException, kEventFile, "Event grabber not open.", grabber().RetrieveEvent(result));
}

TEST_F(EventGrabber, DeliversNothingWhenNothingIsPending) {
    grabber().Open();
    EXPECT_FALSE(grabber().RetrieveEvent(result));
}

TEST_F(EventGrabber, DeliversAnEvent) {
    grabber().Open();
    result.m_ErrorCode = 7;
    result.m_ErrorDescription = "old";
    bus.PushEvent({1, 2, 3});
    EXPECT_TRUE(grabber().RetrieveEvent(result));
    EXPECT_TRUE(result.Succeeded());
    EXPECT_EQ("", result.ErrorDescription());
    EXPECT_EQ(3, result.Buffer()[2]);
}

TEST_F(EventGrabber, AsksForAMessageOf576BytesAndForNothingElse) {
    grabber().Open();
    bus.PushEvent({1});
    grabber().RetrieveEvent(result);
    EXPECT_EQ(576u, bus.eventSizePreset);
    EXPECT_FALSE(bus.askedForPendingEvents);
    EXPECT_EQ(576u, Tavix::EventResult::kBufferSize);
}

TEST_F(EventGrabber, DeliversAllPendingEventsWithoutWaiting) {
    grabber().Open();
    for (unsigned char i = 0; i < 3; ++i)
        bus.PushEvent({i});
    for (unsigned char i = 0; i < 3; ++i) {
        EXPECT_TRUE(grabber().RetrieveEvent(result));
        EXPECT_EQ(i, result.Buffer()[0]);
    }
    EXPECT_FALSE(grabber().RetrieveEvent(result));
}

TEST_F(EventGrabber, AsksForNothingWhenItsWaitObjectIsNotSignalled) {
    grabber().Open();
    bus.ForgetCalls();
    EXPECT_FALSE(grabber().RetrieveEvent(result));
    EXPECT_THAT(bus.Calls(), testing::IsEmpty());
}

TEST_F(EventGrabber, DeliversToWhoHasWaited) {
    grabber().Open();
    for (unsigned char i = 0; i < 3; ++i)
        bus.PushEvent({i});
    for (unsigned char i = 0; i < 3; ++i) {
        EXPECT_TRUE(grabber().GetWaitObject().Wait(0));
        EXPECT_TRUE(grabber().RetrieveEvent(result));
        EXPECT_EQ(i, result.Buffer()[0]);
    }
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0));
}

TEST_F(EventGrabber, LeavesNoSignalBehindForAnEventThatWasDelivered) {
    grabber().Open();
    bus.PushEvent({1});
    EXPECT_TRUE(grabber().RetrieveEvent(result));
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0));
}

TEST_F(EventGrabber, TellsWhyAnEventWasNotDelivered) {
    grabber().Open();
    bus.PushEvent({1});
    bus.FailNext("Events.RetrieveEvent", kFailure);
    EXPECT_FAILURE(RuntimeException, kEventFile,
                   "Failed to get next message from event stream : text E2000777 (0xE2000777)",
                   grabber().RetrieveEvent(result));
    EXPECT_EQ(kFailure, result.ErrorCode());
    EXPECT_EQ(kFailureText, result.ErrorDescription());
    EXPECT_TRUE(grabber().RetrieveEvent(result));
}

TEST_F(EventGrabber, FitsMessagesOf576BytesAndNoMore) {
    grabber().Open();
    bus.PushEvent(FakeVexlo::Bytes(576, 0xAB));
    EXPECT_TRUE(grabber().RetrieveEvent(result));
    EXPECT_EQ(0xAB, result.Buffer()[575]);
    bus.PushEvent(FakeVexlo::Bytes(577, 0xAB));
    EXPECT_THROW(grabber().RetrieveEvent(result), GenICam::RuntimeException);
}

TEST_F(EventGrabber, LocksItsSettingsWhileItIsOpen) {
    grabber().Open();
    EXPECT_THROW(Parameter("NumBuffer").SetValue(4), GenICam::AccessException);
    grabber().Close();
    Parameter("NumBuffer").SetValue(4);
    EXPECT_EQ(FakeVexlo::Number(4, 4), bus.eventProperties[0x200]);
}

TEST_F(EventGrabber, IsClosedOnDestructionWithoutAnException) {
    grabber().Open();
    bus.FailNext("Events.Close", kFailure);
    Destroy();
    EXPECT_EQ(1, bus.Count("Events.Close"));
    EXPECT_EQ(1, log.Count({kEvents, 256, "Failed to close event stream grabber: text E2000777"}));
}

/// One whose part that is meant for heirs can be reached.
struct Probe : Tavix::CTavixUsbEventGrabber {
    using CTavixUsbEventGrabber::CTavixUsbEventGrabber;
    using CTavixUsbEventGrabber::InternalClose;
};

TEST_F(EventGrabber, ThrowsThatItCannotCloseOnlyWhereThatIsAskedFor) {
    bus.deviceSaysItIsOpen = true;
    const Tavix::VxDevicePtr usbDevice(vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb));
    Probe probe(usbDevice.get());
    for (const bool asked : {false, true}) {
        probe.Open();
        log.Forget();
        bus.FailNext("Events.Close", kFailure);
        if (asked) {
            ExpectFailure("Failed to close event stream grabber: text E2000777", [&] { probe.InternalClose(true); });
        } else {
            EXPECT_NO_THROW(probe.InternalClose(false));
            EXPECT_EQ(1, log.Count({kEvents, 256, "Failed to close event stream grabber: text E2000777"}));
        }
        EXPECT_FALSE(probe.IsOpen());
    }
}

TEST_F(EventGrabber, WakesAllWhoWaitForAnEventWhenItIsClosed) {
    Tavix::WaitObject& waitObject = grabber().GetWaitObject();
    grabber().Close();
    EXPECT_FALSE(waitObject.Wait(0)) << "nobody can have waited";
    grabber().Open();
    EXPECT_FALSE(waitObject.Wait(0));
    const auto wait = [&] { return waitObject.Wait(30000); };
    auto one = std::async(std::launch::async, wait), another = std::async(std::launch::async, wait);
    grabber().Close();
    EXPECT_TRUE(one.get());
    EXPECT_TRUE(another.get());
    grabber().Open();
    EXPECT_FALSE(waitObject.Wait(0)) << "nothing has come";
}

TEST_F(EventGrabber, HasItsParametersOfAStreamThatItGetsLater) {
    Destroy();
    bus.FailNext("Device.GetEventStream", kFailure);
    Make();
    bus.eventProperties[0x200] = FakeVexlo::Number(12, 4);
    EXPECT_THROW(Parameter("NumBuffer").GetValue(), GenICam::GenericException);
    grabber().Open();
    EXPECT_EQ(12, Parameter("NumBuffer").GetValue());
}

} // namespace
