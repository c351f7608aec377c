// Every operation of the event grabber on every road: the calls it makes and the lines it writes, in their order and
// nothing besides.

#include "event/TavixUsbEventGrabber.h"

#include "device/VxDevicePtr.h"
#include "tavixusb/support/CallRecord.h"
#include "tavixusb/support/DeviceFixture.h"
#include "tavixusb/support/ParamsRows.h"

#include <GenApi/NodeCallback.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class EventGrabberJournal : public DeviceFixture {
protected:
    EventGrabberJournal() { bus.deviceSaysItIsOpen = true; }

    void MakeGrabber() { made = std::make_unique<Tavix::CTavixUsbEventGrabber>(usbDevice.get()); }
    void MakeWithoutStream() {
        bus.FailNext("Device.GetEventStream", kFailure);
        MakeGrabber();
    }
    std::vector<std::string> JournalOf(const std::function<void()>& step) {
        CallRecord record("Tavix.USB.EventStream");
        return record.Of([&] { failure = FailureOf(step); });
    }
    std::vector<std::string> JournalOfOpen() {
        return JournalOf([&] { made->Open(); });
    }
    std::int64_t StatusReg() { return Integer(made->GetNodeMap(), "StatusReg").GetValue(); }

    Tavix::VxDevicePtr usbDevice{vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb)};
    std::unique_ptr<Tavix::CTavixUsbEventGrabber> made;
    std::string failure;
};

TEST_F(EventGrabberJournal, OfMakingAndDestroying) {
    EXPECT_THAT(JournalOf([&] { MakeGrabber(); }), ElementsAre("Device.GetEventStream"));
    EXPECT_EQ("", made->GetNodeMap()->GetDeviceName());
    EXPECT_FALSE(made->GetWaitObject().Wait(0));
    EXPECT_THAT(JournalOf([&] { made.reset(); }), IsEmpty());
}

TEST_F(EventGrabberJournal, OfMakingWithoutAnEventStream) {
    EXPECT_THAT(JournalOf([&] { MakeWithoutStream(); }),
                ElementsAre("Device.GetEventStream", "256 Failed to create event stream grabber: text E2000777"));
    EXPECT_EQ("", failure);
    EXPECT_EQ("Failed to read property value 500. The property is not writable.",
              FailureOf([&] { Integer(made->GetNodeMap(), "Statistic_Total_Event_Count").GetValue(); }));
    EXPECT_EQ("Failed to write property value 900. The property is not writable.",
              FailureOf([&] { Integer(made->GetNodeMap(), "GenerateNumTestEvents_Value").SetValue(1, false); }));
}

TEST_F(EventGrabberJournal, OfDestroyingAnOpenOne) {
    MakeGrabber();
    made->Open();
    EXPECT_THAT(JournalOf([&] { made.reset(); }), ElementsAre("Events.Close"));
    MakeGrabber();
    made->Open();
    bus.FailNext("Events.Close", kFailure);
    EXPECT_THAT(JournalOf([&] { made.reset(); }),
                ElementsAre("Events.Close", "256 Failed to close event stream grabber: text E2000777"));
    EXPECT_EQ("", failure);
}

TEST_F(EventGrabberJournal, OfOpeningTwice) {
    MakeGrabber();
    EXPECT_THAT(JournalOfOpen(), ElementsAre("Events.RegisterWaitObject", "Events.Open"));
    EXPECT_EQ(1, StatusReg());
    EXPECT_THAT(JournalOfOpen(), IsEmpty());
    EXPECT_EQ("Event grabber already open.", failure);
    EXPECT_EQ(1, StatusReg());
}

TEST_F(EventGrabberJournal, OfOpeningOnAClosedDevice) {
    MakeGrabber();
    bus.deviceSaysItIsOpen = false;
    EXPECT_THAT(JournalOfOpen(), ElementsAre("256 Device is not open"));
    EXPECT_EQ("Device is not opened. Open the device before opening the event stream!", failure);
    EXPECT_EQ(0, StatusReg());
}

TEST_F(EventGrabberJournal, OfOpeningWithoutAnEventStream) {
    MakeWithoutStream();
    bus.FailNext("Device.GetEventStream", kFailure);
    EXPECT_THAT(JournalOfOpen(),
                ElementsAre("Device.GetEventStream", "256 Failed to create event stream grabber: text E2000777"));
    EXPECT_THAT(JournalOfOpen(), ElementsAre("Device.GetEventStream", "Events.RegisterWaitObject", "Events.Open"));
    made->Close();
    EXPECT_THAT(JournalOfOpen(), ElementsAre("Events.RegisterWaitObject", "Events.Open"));
}

TEST_F(EventGrabberJournal, OfInvalidatedParametersWhenThereIsAnEventStream) {
    MakeWithoutStream();
    const auto callbacksOfOpen = [&] {
        return CallbacksOf(*made->GetNodeMap(), "NumBuffer_Value", [&] { made->Open(); });
    };
    EXPECT_EQ(1, callbacksOfOpen());
    made->Close();
    EXPECT_EQ(0, callbacksOfOpen()) << "though it had its event stream";
}

TEST_F(EventGrabberJournal, OfDestroyingIsEmptyThoughSomebodyListensToItsParameters) {
    MakeGrabber();
    for (const char* node : {"NumBuffer_Value", "EventStreamGrabberPort"})
        GenApi::Register(made->GetNodeMap()->GetNode(node), [](GenApi::INode*) { throw 1; });
    EXPECT_THAT(JournalOf([&] { made.reset(); }), IsEmpty());
}

TEST_F(EventGrabberJournal, OfOpeningWithAnEventStreamThatWasPromisedButNotGiven) {
    bus.hasEvents = false;
    MakeGrabber();
    EXPECT_THAT(JournalOfOpen(), ElementsAre("Device.GetEventStream"));
    EXPECT_EQ("Internal fatal error (m_pVxEventStream == NULL )", failure);
}

TEST_F(EventGrabberJournal, OfOpeningWithoutWaitObject) {
    MakeGrabber();
    bus.FailNext("Events.RegisterWaitObject", kFailure);
    EXPECT_THAT(JournalOfOpen(),
                ElementsAre("Events.RegisterWaitObject", "256 Failed to register wait object: text E2000777"));
    EXPECT_EQ(0, StatusReg());
    EXPECT_THAT(JournalOf([&] { made->Close(); }), IsEmpty());
    EXPECT_THAT(JournalOfOpen(), ElementsAre("Device.GetEventStream", "Events.RegisterWaitObject", "Events.Open"));
}

TEST_F(EventGrabberJournal, OfAnEventStreamThatDoesNotOpen) {
    MakeGrabber();
    for (const vexlo::VxStatus ofClose : {vexlo::VX_OK, vexlo::VxStatus(0xE2000001)}) {
        bus.FailNext("Events.Open", kFailure);
        bus.FailNext("Events.Close", ofClose);
        EXPECT_THAT(JournalOfOpen(), ElementsAre("Events.RegisterWaitObject", "Events.Open", "Events.Close",
                                                 "256 Failed to open event stream grabber: text E2000777"));
        EXPECT_EQ("Failed to open event stream grabber: text E2000777", failure);
        EXPECT_EQ(0, StatusReg());
    }
}

TEST_F(EventGrabberJournal, OfClosing) {
    MakeGrabber();
    EXPECT_THAT(JournalOf([&] { made->Close(); }), IsEmpty());
    made->Open();
    EXPECT_THAT(JournalOf([&] { made->Close(); }), ElementsAre("Events.Close"));
    made->Open();
    bus.FailNext("Events.Close", kFailure);
    EXPECT_THAT(JournalOf([&] { made->Close(); }),
                ElementsAre("Events.Close", "256 Failed to close event stream grabber: text E2000777"));
    EXPECT_EQ("", failure);
    EXPECT_EQ(0, StatusReg());
}

TEST_F(EventGrabberJournal, OfClosingAnEventStreamThatIsClosed) {
    MakeGrabber();
    made->Open();
    bus.eventStream.open = false;
    EXPECT_THAT(JournalOf([&] { made->Close(); }), IsEmpty());
    EXPECT_FALSE(made->IsOpen());
}

TEST_F(EventGrabberJournal, OfRetrieving) {
    MakeGrabber();
    Tavix::EventResult result;
    const auto retrieve = [&] { made->RetrieveEvent(result); };
    EXPECT_THAT(JournalOf(retrieve), IsEmpty());
    EXPECT_EQ("Event grabber not open.", failure);
    made->Open();
    bus.PushEvent({1});
    EXPECT_THAT(JournalOf(retrieve), ElementsAre("Events.RetrieveEvent"));
    EXPECT_EQ("", failure);
    bus.PushEvent({1});
    bus.FailNext("Events.RetrieveEvent", 0xE2000ABC);
    EXPECT_THAT(JournalOf(retrieve), ElementsAre("Events.RetrieveEvent"));
    EXPECT_EQ("Failed to get next message from event stream : text E2000ABC (0xE2000ABC)", failure);
    EXPECT_EQ(0xE2000ABCu, result.ErrorCode());
    EXPECT_EQ("text E2000ABC", result.ErrorDescription());
    bus.FailNext("Events.RetrieveEvent", 0x1A);
    bus.PushEvent({2});
    JournalOf(retrieve);
    EXPECT_EQ("Failed to get next message from event stream : text 0000001A (0x0000001A)", failure);
}

TEST_F(EventGrabberJournal, OfQuestions) {
    MakeGrabber();
    EXPECT_THAT(JournalOf([&] {
                    made->IsOpen();
                    made->GetWaitObject();
                    made->GetNodeMap();
                }),
                IsEmpty());
}

TEST_F(EventGrabberJournal, HoldsItsLockInEachCall) {
    MakeGrabber();
    bus.PushEvent({1});
    Tavix::EventResult result;
    for (const std::function<void()>& operation :
         {std::function<void()>([&] { made->Open(); }), std::function<void()>([&] { made->RetrieveEvent(result); }),
          std::function<void()>([&] { made->Close(); })}) {
        ExpectLockedCalls(made->GetLock(), operation);
    }
}

} // namespace
