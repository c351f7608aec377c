// A whole session with images and events in which each call of the USB access library fails in its turn, alone or with
// all that come after it, as if the camera had been unplugged.

#include "tavixusb/support/DeviceFixture.h"

#include <functional>
#include <limits>

namespace {

class FaultySession : public DeviceFixture, public testing::WithParamInterface<bool> {
protected:
    FaultySession() { Load(CameraXml()); }

    /// Takes the step; what it refuses is counted.
    void Attempt(const std::function<void()>& step) {
        try {
            step();
        } catch (const GenICam::GenericException&) {
            ++refused;
        }
    }
    void Images() {
        Tavix::IStreamGrabber& grabber = *device->GetStreamGrabber(0);
        Tavix::StreamBufferHandle handle = nullptr;
        Tavix::GrabResult result;
        Attempt([&] { grabber.Open(); });
        Attempt([&] { grabber.PrepareGrab(); });
        Attempt([&] { handle = grabber.RegisterBuffer(image, sizeof image); });
        Attempt([&] { grabber.QueueBuffer(handle); });
        Attempt([&] { grabber.CancelGrab(); });
        Attempt([&] { grabber.RetrieveResult(result); });
        Attempt([&] { grabber.FinishGrab(); });
        if (handle) Attempt([&] { grabber.DeregisterBuffer(handle); });
        Attempt([&] { grabber.Close(); });
    }
    void Events() {
        Tavix::IEventGrabber* const grabber = device->GetEventGrabber();
        if (!grabber) return;
        Tavix::EventResult result;
        Attempt([&] { grabber->Open(); });
        bus.PushEvent({1});
        Attempt([&] { grabber->RetrieveEvent(result); });
        bus.events.clear();
        Attempt([&] { grabber->Close(); });
    }
    /// All of it; returns how many steps were refused.
    int Session() {
        refused = 0;
        Attempt([&] { Open(); });
        Images();
        Events();
        if (device->IsOpen()) Attempt([&] { device->Close(); });
        if (device->IsOpen()) device->Close(); // a grab that could not be finished is over now
        return refused;
    }

    unsigned char image[16] = {};
    int refused = 0;
};

TEST_P(FaultySession, LeavesEverythingClosedAndFitForTheNextOne) {
    constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();
    bus.ForgetCalls();
    ASSERT_EQ(0, Session());
    const std::vector<std::string> calls = bus.Calls();
    ASSERT_GT(calls.size(), 20u);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(std::to_string(i) + " " + calls[i]);
        bus.ForgetCalls();
        bus.FailCall(i, kFailure, /*andAllLater=*/GetParam());
        Session();
        EXPECT_FALSE(device->IsOpen());
        EXPECT_FALSE(device->GetStreamGrabber(0)->IsOpen());
        EXPECT_FALSE(bus.stream.open);
        EXPECT_FALSE(bus.stream.prepared);
        EXPECT_FALSE(bus.eventStream.open);
        bus.FailCall(kNever, kFailure);
        EXPECT_EQ(0, Session());
        EXPECT_EQ(0, bus.memory[0x200]) << "the camera is still locked";
    }
}

INSTANTIATE_TEST_SUITE_P(OneOrAllLater, FaultySession, testing::Bool(),
                         [](const auto& later) { return std::string(later.param ? "AndAllLater" : "OneCall"); });

} // namespace
