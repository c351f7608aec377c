// How a stream grabber comes, goes and gets its stream: calls and lines in their order.

#include "TavixTL_USB/TavixUSB/device/VxDevicePtr.h"
#include "tavixusb/support/CallRecord.h"
#include "tavixusb/support/ParamsRows.h"
#include "tavixusb/support/StreamGrabberFixture.h"

#include <GenApi/NodeCallback.h>

#include <atomic>
#include <future>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kNoTLParamsLocked[] = "128 Device '1:2:3' doesn't provide TLParamsLocked feature.";
constexpr char kCreating[] = "64 Creating stream grabber for device '1:2:3'.";
constexpr char kCreated[] = "64 Created stream grabber for device '1:2:3' successfully.";
constexpr char kDestroying[] = "64 Destroying stream grabber for device '1:2:3'.";
constexpr char kDestroyed[] = "64 Destroyed stream grabber for device '1:2:3' successfully.";
constexpr char kOpens[] = "64 Opening stream grabber for device '1:2:3'";
constexpr char kIsOpened[] = "64 Opened stream grabber for device '1:2:3' successfully";
constexpr char kCloses[] = "64 Closing stream grabber for device '1:2:3'.";
constexpr char kIsClosed[] = "64 Closed stream grabber for device '1:2:3' successfully.";

/// A grabber that the device does not own, over a USB device of its own.
class StreamGrabberLife : public StreamGrabber {
protected:
    void SetUp() override {
        Open();
        bus.deviceSaysItIsOpen = true; // the other one too
    }
    void MakeGrabber() { made = std::make_unique<Tavix::CTavixUsbStream>(usbDevice.get(), device); }
    void MakeWithoutStream() {
        bus.FailNext("Device.GetStream", kFailure);
        MakeGrabber();
    }
    std::vector<std::string> JournalOf(const std::function<void()>& step) {
        CallRecord record("Tavix.USB.Stream");
        return record.Of([&] { failure = FailureOf(step); });
    }

    Tavix::VxDevicePtr usbDevice{vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb)};
    std::unique_ptr<Tavix::CTavixUsbStream> made;
    std::string failure;
};

TEST_F(StreamGrabberLife, BeginsWithTheQuestionForItsStream) {
    EXPECT_THAT(JournalOf([&] { MakeGrabber(); }), ElementsAre(kCreating, "Device.GetStream", kCreated));
    EXPECT_FALSE(made->IsOpen());
    EXPECT_EQ("", made->GetNodeMap()->GetDeviceName());
    EXPECT_FALSE(made->GetWaitObject().Wait(0));
}

TEST_F(StreamGrabberLife, BeginsAlsoWithoutAStream) {
    EXPECT_THAT(JournalOf([&] { MakeWithoutStream(); }),
                ElementsAre(kCreating, "Device.GetStream",
                            "256 Failed to create stream grabber for device '1:2:3'. Error: 'text E2000777'",
                            kCreated));
    EXPECT_EQ("Failed to read property value 400. The property is not writable.",
              FailureOf([&] { Integer(made->GetNodeMap(), "Statistic_Total_Buffer_Count").GetValue(); }));
}

TEST_F(StreamGrabberLife, EndsWithoutACall) {
    MakeGrabber();
    EXPECT_THAT(JournalOf([&] { made.reset(); }), ElementsAre(kDestroying, kDestroyed));
}

TEST_F(StreamGrabberLife, EndsWithACloseWhenItIsOpen) {
    MakeGrabber();
    made->Open();
    EXPECT_THAT(JournalOf([&] { made.reset(); }),
                ElementsAre(kDestroying,
                            "128 Streamg rabber still open on destruction. Call IStreamGrabber::Close before "
                            "destroying the stream grabber/device", // sic
                            kCloses, "Stream.Close", kIsClosed, kDestroyed));
}

TEST_F(StreamGrabberLife, EndsWithTheGrabWhenItIsGrabbing) {
    MakeGrabber();
    made->Open();
    made->PrepareGrab();
    EXPECT_THAT(JournalOf([&] { made.reset(); }), testing::IsSupersetOf({"Stream.FinishGrab", "Stream.Close"}));
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(StreamGrabberLife, EndsWithoutAnExceptionWhenTheGrabCannotBeFinished) {
    MakeGrabber();
    made->Open();
    made->PrepareGrab();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_THAT(JournalOf([&] { made.reset(); }), testing::Contains(kDestroyed));
    EXPECT_EQ("", failure);
}

TEST_F(StreamGrabberLife, EndsWithoutAWordToThoseWhoListenToItsParameters) {
    MakeGrabber();
    for (const char* node : {"Statistic_Total_Buffer_Count", "StatusReg", "StreamGrabberPort"})
        GenApi::Register(made->GetNodeMap()->GetNode(node), [](GenApi::INode*) { throw 1; });
    EXPECT_THAT(JournalOf([&] { made.reset(); }), ElementsAre(kDestroying, kDestroyed));
}

// Opening without a stream.

TEST_F(StreamGrabberLife, AsksForItsStreamAgainWhenItIsOpened) {
    MakeWithoutStream();
    EXPECT_THAT(JournalOf([&] { made->Open(); }),
                ElementsAre(kOpens, "Device.GetStream", "Stream.RegisterWaitObject", "Stream.Open", kIsOpened));
    made->Close();
    EXPECT_THAT(JournalOf([&] { made->Open(); }),
                ElementsAre(kOpens, "Stream.RegisterWaitObject", "Stream.Open", kIsOpened));
}

TEST_F(StreamGrabberLife, InvalidatesItsParametersWhenItGetsAStream) {
    MakeWithoutStream();
    GenApi::INodeMap& map = *made->GetNodeMap();
    const auto callbacksOfOpen = [&] { return CallbacksOf(map, "NumMaxQueuedUrbs_Value", [&] { made->Open(); }); };
    EXPECT_EQ(1, callbacksOfOpen());
    made->Close();
    EXPECT_EQ(0, callbacksOfOpen()) << "though it had its stream";
}

TEST_F(StreamGrabberLife, LooksForTheCamerasLockBeforeItsStream) {
    MakeWith(CameraXmlWithoutLock());
    Open();
    MakeWithoutStream();
    bus.FailNext("Device.GetStream", kFailure);
    EXPECT_THAT(JournalOf([&] { made->Open(); }),
                ElementsAre(kOpens, kNoTLParamsLocked, "Device.GetStream",
                            "256 Failed to create vx stream grabber for device '1:2:3'. Error: 'text E2000777'"));
    EXPECT_EQ("Failed to create vx stream grabber for device '1:2:3'. Error: 'text E2000777'", failure);
}

TEST_F(StreamGrabberLife, SaysNothingOfAStreamThatWasPromisedButNotGiven) {
    bus.hasStream = false;
    MakeGrabber();
    EXPECT_THAT(JournalOf([&] { made->Open(); }), ElementsAre(kOpens, "Device.GetStream"));
    EXPECT_EQ("Internal fatal error (m_pVxStream == NULL )", failure);
    EXPECT_FALSE(made->IsOpen());
}

TEST_F(StreamGrabberLife, AsksAClosedDeviceForNothing) {
    MakeGrabber();
    device->Close();
    bus.deviceSaysItIsOpen = false;
    const std::string kText = "Device '1:2:3' is not opened. Open device before opening the stream grabber!";
    EXPECT_THAT(JournalOf([&] { made->Open(); }), ElementsAre(kOpens, "256 " + kText));
    EXPECT_EQ(kText, failure);
}

TEST_F(StreamGrabberLife, AsksForItsStreamAgainAfterItCouldNotBindItsWaitObject) {
    MakeGrabber();
    bus.FailNext("Stream.RegisterWaitObject", kFailure);
    EXPECT_NE("", FailureOf([&] { made->Open(); }));
    EXPECT_THAT(JournalOf([&] { made->Open(); }),
                ElementsAre(kOpens, "Device.GetStream", "Stream.RegisterWaitObject", "Stream.Open", kIsOpened));
}

// A camera without a lock, or with one that cannot be written.

TEST_F(StreamGrabberLife, WarnsOnceOfACameraWithoutLockAndWritesNothingToIt) {
    MakeWith(CameraXmlWithoutLock());
    OpenGrabber();
    EXPECT_EQ(1, log.Count(StreamLine(128, kNoTLParamsLocked + 4)));
    bus.ForgetCalls();
    grabber().PrepareGrab();
    grabber().FinishGrab();
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.PrepareGrab", "Stream.StartStreaming", "Stream.FinishGrab"));
}

// The lock.

std::vector<std::function<void()>> AllThatCallTheStream(Tavix::IStreamGrabber& grabber, void* memory) {
    static void* handle;
    handle = memory;
    return {[&] { grabber.Open(); },
            [&] { grabber.PrepareGrab(); },
            [&, memory] { grabber.RegisterBuffer(memory, 4); },
            [&] { grabber.QueueBuffer(&handle); },
            [&] {
                Tavix::GrabResult result;
                grabber.RetrieveResult(result);
            },
            [&] { grabber.CancelGrab(); },
            [&] { grabber.DeregisterBuffer(&handle); },
            [&] { grabber.FinishGrab(); },
            [&] { grabber.Close(); }};
}

TEST_F(StreamGrabberLife, HoldsItsLockInEachCall) {
    MakeGrabber();
    for (const auto& operation : AllThatCallTheStream(*made, image)) {
        ExpectLockedCalls(made->GetLock(), operation);
    }
}

TEST_F(StreamGrabberLife, SaysWhatItIsAboutToDoBeforeItTakesItsLock) {
    MakeGrabber();
    std::promise<void> said;
    std::atomic<int> lines{0};
    const Tavix::LogSink sink([&](const char* category, unsigned int, const char*) {
        if (std::string(category) == "Tavix.USB.Stream" && ++lines == 5) said.set_value();
    });
    std::vector<std::thread> waiting;
    {
        const boost::unique_lock<boost::recursive_mutex> held(made->GetLock());
        for (void (Tavix::IStreamGrabber::*operation)() :
             {&Tavix::IStreamGrabber::Open, &Tavix::IStreamGrabber::Close, &Tavix::IStreamGrabber::PrepareGrab,
              &Tavix::IStreamGrabber::FinishGrab, &Tavix::IStreamGrabber::CancelGrab}) {
            waiting.emplace_back([this, operation] { FailureOf([&] { (made.get()->*operation)(); }); });
        }
        EXPECT_EQ(std::future_status::ready, said.get_future().wait_for(std::chrono::seconds(20)));
    }
    for (std::thread& thread : waiting)
        thread.join();
}

TEST_F(StreamGrabberLife, WakesAllWhoWaitForAResultWhenItIsClosed) {
    grabber().Close();
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0)) << "nobody can have waited";
    grabber().Open();
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0));
    const auto wait = [this] { return grabber().GetWaitObject().Wait(30000); };
    auto one = std::async(std::launch::async, wait), another = std::async(std::launch::async, wait);
    grabber().Close();
    EXPECT_TRUE(one.get());
    EXPECT_TRUE(another.get());
    grabber().Open();
    EXPECT_FALSE(grabber().GetWaitObject().Wait(0)) << "nothing has completed";
}

} // namespace
