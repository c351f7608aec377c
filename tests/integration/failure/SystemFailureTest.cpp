// What the application is told, and what is done about it, when the system below libusb fails in a certain way.
#include "integration/support/DirectCamera.h"
#include "integration/support/VirtualBus.h"

#include "support/usbfs/Bus.h"
#include "virtualcam/device/Device.h"
#include "virtualcam/device/Protocol.h"

#include <vexlo/Vexlo.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace integration;
using usbfs::Call;
using usbfs::CallFault;

/// Calls of a kind fail as long as this lives. Bound to a thread.
class Failing {
public:
    Failing(const usbfs::CallSite& site, int error, unsigned int times = CallFault::kAlways) {
        Faults().Arm({site, 0, error, times, {}});
    }
    ~Failing() { Faults().Disarm(); }
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

    static usbfs::CallFaults& Faults() { return usbfs::Bus::Instance().Faults(); }
    static unsigned int CountOf(const usbfs::CallSite& site) { return Faults().GetCounts()[site]; }
};

class SystemFailure : public testing::Test {
protected:
    /// The camera is created before anything fails.
    VirtualBus m_Bus{R"([{"frameRateEnable": false}])"};
    std::shared_ptr<Tavix::ITavixDevice> m_Camera = m_Bus.Create();

    std::string Open() {
        return ErrorOf([&] { m_Camera->Open(); });
    }
    /// One attempt of the USB access library, of which the transport layer makes several.
    static vexlo::VxStatus OpenOnce() {
        EXPECT_EQ(vexlo::Init(), vexlo::VX_OK);
        const vexlo::VxStatus status = NewDevice()->Open(Discovered().at(0));
        vexlo::Exit();
        return status;
    }
};

testing::AssertionResult Tells(const std::string& error, const char* wanted) {
    if (error.find(wanted) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "told: " << error;
}

TEST_F(SystemFailure, OfMemoryForCommandsIsNoReasonToWaitLongOrToResetTheCamera) {
    const Failing failing({Call::Submit, virtualcam::kControlOut}, ENOMEM);
    EXPECT_EQ(OpenOnce(), vexlo::VX_E_USB_NO_MEMORY);
    EXPECT_EQ(Failing::CountOf({Call::Reset}), 0u);
}

TEST_F(SystemFailure, OfMemoryForAnAnswerLosesNoWrite) {
    m_Camera->Open();
    const Failing failing({Call::Submit, virtualcam::kControlIn}, ENOMEM, 3);
    EXPECT_EQ(ErrorOf([&] { Set(m_Camera->GetNodeMap(), "Width", "640"); }), "");
    EXPECT_EQ(Failing::CountOf({Call::ClearHalt, virtualcam::kControlIn}), 0u) << "nothing was out of order";
}

TEST_F(SystemFailure, ToQueueEventsIsNotBlamedOnMemory) {
    m_Camera->Open();
    const Failing failing({Call::Submit, virtualcam::kEventIn}, EIO);
    EXPECT_TRUE(Tells(ErrorOf([&] { m_Camera->GetEventGrabber()->Open(); }), "Input/output error"));
}

TEST_F(SystemFailure, ToClearAHaltIsToldAsWhatItIs) {
    m_Camera->Open();
    Tavix::IEventGrabber& events = *m_Camera->GetEventGrabber();
    const std::pair<int, const char*> rows[] = {{EPROTO, "Input/output error"},
                                                {EPIPE, "halted the USB endpoint"},
                                                {ETIMEDOUT, "did not answer in time"},
                                                {EBUSY, "in use by another program"}};
    for (const auto& [error, text] : rows) {
        const Failing failing({Call::ClearHalt, virtualcam::kEventIn}, error);
        EXPECT_TRUE(Tells(ErrorOf([&] { events.Open(); }), text));
    }
    events.Open();
}

TEST_F(SystemFailure, ToPermitTheCameraIsToldAsThatInAContainerToo) {
    usbfs::Bus::Instance().MakeNodeOld("2-1");
    const Failing failing({Call::OpenNode}, EPERM);
    EXPECT_TRUE(Tells(Open(), "No permission to open the camera"));
}

TEST_F(SystemFailure, ToClearTheHaltsOfCommandsDoesNotMatterToACameraThatAnswers) {
    const Failing failing({Call::ClearHalt, virtualcam::kControlIn}, EPROTO);
    EXPECT_EQ(Open(), "");
    EXPECT_EQ(Failing::CountOf({Call::Reset}), 0u);
}

TEST_F(SystemFailure, ByRemovalIsNotTakenForACameraWithoutStreamAndEvents) {
    virtualcam::FaultScript script;
    virtualcam::ControlFaultRule rule;
    rule.fault = virtualcam::ControlFault::Unplug;
    rule.address = 0x10004; // tells which interfaces the camera has
    script.control = {rule};
    m_Bus.Camera().SetFaults(script);
    EXPECT_EQ(OpenOnce(), vexlo::VX_E_USB_NO_DEVICE);
}

TEST_F(SystemFailure, OfTheLineIsNotTakenForACameraWithoutStreamAndEvents) {
    usbfs::CallFault fault{{Call::TransferStart, virtualcam::kControlIn}, 8, EPROTO, CallFault::kAlways, {}};
    usbfs::Bus::Instance().Faults().Arm(fault); // behind the first registers
    EXPECT_EQ(OpenOnce(), vexlo::VX_E_USB_IO);
    usbfs::Bus::Instance().Faults().Disarm();
}

} // namespace
