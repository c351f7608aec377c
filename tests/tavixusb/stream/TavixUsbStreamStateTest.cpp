#include "TavixTL_USB/TavixUSB/device/VxDevicePtr.h"

#include "tavixusb/support/StreamGrabberFixture.h"

#include <GenApi/NodeCallback.h>

namespace {

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
    EXPECT_FAILURE(LogicalErrorException, kStreamFile, kText, grabber().RetrieveResult(result));
    EXPECT_EQ(1, log.Count(StreamLine(256, kText)));
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

TEST_F(StreamGrabber, TellsItsStateOnlyWhenItIsANewOne) {
    int told = 0;
    GenApi::INode* const pStatus = Parameter("StatusReg").GetNode();
    const GenApi::CallbackHandleType handle = GenApi::Register(pStatus, [&](GenApi::INode*) { ++told; });
    grabber().Close();
    EXPECT_EQ(0, told);
    OpenGrabber();
    EXPECT_EQ(1, told);
    pStatus->DeregisterCallback(handle); // the grabber is closed once more when the camera goes
}

TEST_F(StreamGrabber, VerifiesItsStateBothWays) {
    Open();
    GenApi::INode& status = *Parameter("StatusReg").GetNode();
    status.ImposeAccessMode(GenApi::RO);
    EXPECT_THROW(grabber().Open(), GenICam::AccessException);
    status.ImposeAccessMode(GenApi::RW);
    grabber().Open();
    status.ImposeAccessMode(GenApi::RO);
    EXPECT_THROW(grabber().Close(), GenICam::AccessException);
    status.ImposeAccessMode(GenApi::RW);
}

/// One whose parts that are meant for heirs can be reached.
struct StateProbe : Tavix::CTavixUsbStream {
    using CTavixUsbStream::CTavixUsbStream;
    using CTavixUsbStream::EStreamGrabberState;
    using CTavixUsbStream::GetLock;
    using CTavixUsbStream::GetState;
    using CTavixUsbStream::GetStateName;
    using CTavixUsbStream::SetState;

    void FinishGrab() override {
        ++finished;
        CTavixUsbStream::FinishGrab();
    }
    int finished = 0;
};

class StreamGrabberProbe : public StreamGrabber {
protected:
    StreamGrabberProbe() { bus.deviceSaysItIsOpen = true; }

    Tavix::VxDevicePtr usbDevice{vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb)};
    StateProbe probe{usbDevice.get(), device};
};

TEST_F(StreamGrabberProbe, NamesItsStates) {
    const char* const names[] = {"Closed", "Open", "Grabbing", "Unknown State"};
    const Tavix::TransportGuard guard(probe.GetLock());
    for (int state = 0; state < 4; ++state) {
        probe.SetState(static_cast<StateProbe::EStreamGrabberState>(state));
        EXPECT_EQ(state, probe.GetState());
        EXPECT_STREQ(names[state], probe.GetStateName());
        EXPECT_EQ(state, Integer(probe.GetNodeMap(), "StatusReg").GetValue());
    }
    probe.SetState(static_cast<StateProbe::EStreamGrabberState>(0));
    static_assert(sizeof(StateProbe::EStreamGrabberState) == 4);
}

TEST_F(StreamGrabberProbe, FinishesWhenItIsClosedAsItsHeirFinishes) {
    probe.Open();
    probe.PrepareGrab();
    probe.Close();
    EXPECT_EQ(1, probe.finished);
}

TEST_F(StreamGrabberProbe, ReleasesItsNodeMapAndPortWhenItIsDestroyed) {
    // The leak checker looks for the rest.
    log.Forget();
    { StateProbe other(usbDevice.get(), device); }
    EXPECT_EQ(1, log.Count(StreamLine(64, "Destroyed stream grabber for device '1:2:3' successfully.")));
}

} // namespace
