// Whole roads through the transport layer on which each call of the USB access library fails once, with each status,
// and on which the camera is gone from each call on. Whatever happens, nothing crashes, nothing is left behind, the
// failure is told in its own words, and the next one who comes finds everything in order.

#include "TavixTL_USB/TavixUSB/Failure.h"
#include "support/AllStatuses.h"

#include "support/TransportLayerTest.h"

#include <GenApi/Pointer.h>

#include <cstdio>
#include <ostream>

namespace {

/// A call of the USB access library in the order of the road, and what is thrown when it fails; the status and its
/// text are put in, and without a text the road goes on.
struct Step {
    const char* call;
    const char* failure = nullptr;
};

class FailureRoad;

struct Road {
    const char* name;
    void (FailureRoad::*walk)();
    std::vector<Step> steps;
};

void PrintTo(const Road& row, std::ostream* to) {
    *to << row.name;
}

class FailureRoad : public TransportLayerTest, public testing::WithParamInterface<Road> {
public:
    void MakeTransportLayer() {
        DestroyTl();
        MakeTl();
    }
    void Enumerate() {
        Tavix::DeviceInfoList list;
        EXPECT_EQ(1, tl->EnumerateDevices(list));
    }
    void Probe() { tl->IsDeviceAccessible(Power()); }
    void MakeDevice() { tl->DestroyDevice(Device(MakeCameraInfo())); }
    void MakeDeviceWithPower() { tl->DestroyDevice(Device(Power())); }
    void OpenAndClose() {
        Open();
        EXPECT_TRUE(device->IsOpen());
        device->Close();
        EXPECT_FALSE(device->IsOpen());
    }
    void UseFeature() {
        Open();
        GenApi::CIntegerPtr width(device->GetNodeMap()->GetNode("Width"));
        width->SetValue(640);
        EXPECT_EQ(640, width->GetValue());
        device->Close();
    }
    void UseParameters() {
        GenApi::INodeMap& map = *MadeBefore().GetTLNodeMap();
        GenApi::CIntegerPtr(map.GetNode("Statistic_Last_Error_Status"))->GetValue();
        GenApi::CIntegerPtr(map.GetNode("CustomRequestId_Value"))->SetValue(1);
    }
    void Grab() {
        Open();
        Tavix::IStreamGrabber& grabber = *device->GetStreamGrabber(0);
        grabber.Open();
        grabber.PrepareGrab();
        unsigned char image[16];
        const Tavix::StreamBufferHandle handle = grabber.RegisterBuffer(image, sizeof image);
        grabber.QueueBuffer(handle);
        Tavix::GrabResult result;
        grabber.RetrieveResult(result);
        grabber.CancelGrab();
        grabber.FinishGrab();
        grabber.DeregisterBuffer(handle);
        grabber.Close();
        device->Close();
    }
    void CloseWhileGrabbing() {
        Open();
        device->GetStreamGrabber(0)->Open();
        device->GetStreamGrabber(0)->PrepareGrab();
        device->Close();
    }
    void TakeEvents() {
        Open();
        Tavix::IEventGrabber& grabber = *device->GetEventGrabber();
        grabber.Open();
        Tavix::EventResult result;
        bus.PushEvent({1});
        grabber.RetrieveEvent(result);
        grabber.Close();
        device->Close();
    }

protected:
    FailureRoad() { Begin(); }

    /// What was made before the road begins does not count.
    void Begin() {
        bus.cameras = {MakeCameraRecord()};
        bus.xmlText = CameraXml();
        if (NeedsDevice()) device = tl->CreateDevice(MakeCameraInfo());
        bus.ForgetCalls();
    }
    void End() {
        DestroyTl();
        EXPECT_EQ(0, bus.liveDevices);
        EXPECT_EQ(0, bus.openDevices);
        EXPECT_EQ(0u, bus.NumberOfRegistrations());
    }
    void BeginAgain() {
        device = nullptr;
        bus.Reset();
        MakeTl();
        Begin();
    }
    void Walk() { (this->*GetParam().walk)(); }
    /// The text of the exception that ends the road; empty when none does.
    std::string WalkAndFail() {
        try {
            Walk();
        } catch (const GenICam::GenericException& e) {
            return e.GetDescription();
        }
        return {};
    }
    /// After a failure the same objects serve again, if need be after a Close.
    void ExpectToWorkAgain() {
        bus.FailCall(~std::size_t(0), vexlo::VX_OK);
        if (!tl) MakeTl();
        if (device && device->IsOpen()) {
            device->GetStreamGrabber(0)->Close();
            device->Close();
        }
        EXPECT_EQ("", WalkAndFail());
    }

    static std::string Expected(const Step& step, vexlo::VxStatus status) {
        const bool isNoData = status == vexlo::VX_E_NO_DATA && std::string(step.call) == "Stream.RetrieveBuffer";
        if (!step.failure || isNoData) return {};
        char text[300];
        std::snprintf(text, sizeof text, step.failure, Tavix::VxStatus2Msg(status).c_str(), status);
        return text;
    }

    Tavix::ITavixDevice* device = nullptr;

private:
    bool NeedsDevice() const { return std::string(GetParam().name).rfind("Device", 0) == 0; }
    static Tavix::CDeviceInfo Power() {
        Tavix::CDeviceInfo info = MakeCameraInfo();
        info.SetPropertyValue("_sap", "500");
        info.ClearUserProvided();
        return info;
    }
    Tavix::ITavixDevice* Device(const Tavix::CDeviceInfo& info) { return tl->CreateDevice(info); }
    Tavix::ITavixDevice& MadeBefore() { return *device; }
    void Open() { MadeBefore().Open(); }
};

TEST_P(FailureRoad, CallsTheAccessLibraryInOrder) {
    Walk();
    std::vector<std::string> expected;
    for (const Step& step : GetParam().steps)
        expected.emplace_back(step.call);
    EXPECT_THAT(bus.Calls(), testing::ElementsAreArray(expected));
    End();
}

TEST_P(FailureRoad, BearsTheFailureOfEachCallWithEachStatus) {
    End();
    for (std::size_t i = 0; i < GetParam().steps.size(); ++i) {
        const Step& step = GetParam().steps[i];
        for (const vexlo::VxStatus status : kAllFailures) {
            SCOPED_TRACE(std::string(step.call) + ", call " + std::to_string(i) + ", status " + std::to_string(status));
            BeginAgain();
            bus.FailCall(i, status);
            EXPECT_EQ(Expected(step, status), WalkAndFail());
            ExpectToWorkAgain();
            End();
        }
        if (HasFailure()) return;
    }
}

TEST_P(FailureRoad, BearsACameraThatIsGoneFromEachCallOn) {
    End();
    for (std::size_t i = 0; i < GetParam().steps.size(); ++i) {
        SCOPED_TRACE(std::string(GetParam().steps[i].call) + ", call " + std::to_string(i));
        BeginAgain();
        bus.FailCall(i, vexlo::VX_E_USB_NO_DEVICE, /*andAllLater=*/true);
        WalkAndFail();
        End();
    }
}

constexpr char kNotInitialized[] = "Failed to initialize vexlo: %s";
constexpr char kNoDevice[] = "Failed to create USB device for device '1:2:3'.";
constexpr char kNotFound[] = "Failed to find device for XML file download: '1:2:3'";
constexpr char kNoDownloadDevice[] = "Failed to create USB device for XML file download.";
constexpr char kNoPower[] = "Failed to set power for device '1:2:3'. Error: '%s'";
constexpr char kNoXml[] = "Failed to retrieve XML file from camera device '1:2:3'. Error: '%s'";
constexpr char kNotWritten[] = "Write operation failed on device '1:2:3' at address: 0x100; length 4; Error: '%s'";
constexpr char kNotLocked[] = "Write operation failed on device '1:2:3' at address: 0x200; length 4; Error: '%s'";
constexpr char kNotRead[] = "Read operation on device '1:2:3' failed: '%s'";
constexpr char kStreamNotFinished[] = "FinishGrab() failed: %s";

const Step kOpen{"Device.Open"}; // tried again
const Step kRegister{"RegisterCallback"}, kDeregister{"DeregisterCallback"};
const Step kClose{"Device.Close"};

const Road kRoads[] = {
    {"MakeTransportLayer", &FailureRoad::MakeTransportLayer, {{"Exit"}, {"Init", kNotInitialized}}},
    {"Enumerate",
     &FailureRoad::Enumerate,
     {{"IsLibraryLoadable", kNotInitialized}, {"Discover", "Failed to discover USB devices: %s"}}},
    {"Probe",
     &FailureRoad::Probe,
     {{"DeviceInfoFromPath"},
      {"CreateDevice"},
      {"Device.SetProperty"},
      {"Device.Open"},
      {"Device.SetProperty"},
      {"Device.SetProperty"},
      {"Device.SetProperty"},
      {"Device.SetProperty"},
      {"Device.SetProperty"},
      {"Device.SetProperty"},
      {"Device.GetProperty"},
      {"Device.Close"},
      {"Device.Open"},
      {"Device.Close"},
      {"DestroyDevice"}}},
    {"MakeDevice",
     &FailureRoad::MakeDevice,
     {{"CreateDevice", kNoDevice},
      {"Device.GetStream"},
      {"Device.GetEventStream"},
      {"DeviceInfoFromPath", kNotFound},
      {"CreateDevice", kNoDownloadDevice},
      kOpen,
      {"Device.ProvideXmlFile", kNoXml},
      kClose,
      {"DestroyDevice"},
      {"DestroyDevice"}}},
    {"MakeDeviceWithPower",
     &FailureRoad::MakeDeviceWithPower,
     {{"CreateDevice", kNoDevice},
      {"Device.GetStream"},
      {"Device.GetEventStream"},
      {"DeviceInfoFromPath", kNotFound},
      {"CreateDevice", kNoDownloadDevice},
      {"Device.Open", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.SetProperty", kNoPower},
      {"Device.GetProperty", kNoPower},
      {"Device.Close", kNoPower},
      kOpen,
      {"Device.ProvideXmlFile", kNoXml},
      kClose,
      {"DestroyDevice"},
      {"DestroyDevice"}}},
    {"DeviceOpenAndClose", &FailureRoad::OpenAndClose, {kOpen, kRegister, kRegister, kDeregister, kDeregister, kClose}},
    {"DeviceUseFeature",
     &FailureRoad::UseFeature,
     {kOpen,
      kRegister,
      kRegister,
      {"Device.WriteMem", kNotWritten},
      {"Device.ReadMem", kNotRead},
      kDeregister,
      kDeregister,
      kClose}},
    {"DeviceUseParameters",
     &FailureRoad::UseParameters,
     {{"Device.GetProperty", "Failed to read property value 600. %s"},
      {"Device.SetProperty", "Failed to write property value affe0000. %s"}}},
    {"DeviceGrab",
     &FailureRoad::Grab,
     {kOpen,
      kRegister,
      kRegister,
      {"Stream.RegisterWaitObject", "Failed to register wait object for device '1:2:3'. Error: '%s'"},
      {"Stream.Open", "Failed to open vx stream grabber for device '1:2:3'. Error: '%s'"},
      {"Stream.PrepareGrab", "PrepareGrab failed for device '1:2:3'. Error: '%s'"},
      {"Stream.StartStreaming", "PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: '%s'"},
      {"Device.WriteMem", kNotLocked},
      {"Stream.RegisterBuffer", "Failed to register buffer at vx stream for device 1:2:3'. Error: '%s'"}, // sic
      {"Stream.QueueBuffer", "QueueBuffer() failed: %s"},
      {"Stream.RetrieveBuffer"},
      {"Stream.CancelGrab", "CancelGrab failed for device '1:2:3'. Error: '%s'"},
      {"Stream.FinishGrab", kStreamNotFinished},
      {"Device.WriteMem", kNotLocked},
      {"Stream.DeregisterBuffer", "Failed to deregister buffer at vx stream for device '1:2:3'. Error: '%s'"},
      {"Stream.Close"},
      kDeregister,
      kDeregister,
      kClose}},
    {"DeviceCloseWhileGrabbing",
     &FailureRoad::CloseWhileGrabbing,
     {kOpen,
      kRegister,
      kRegister,
      {"Stream.RegisterWaitObject", "Failed to register wait object for device '1:2:3'. Error: '%s'"},
      {"Stream.Open", "Failed to open vx stream grabber for device '1:2:3'. Error: '%s'"},
      {"Stream.PrepareGrab", "PrepareGrab failed for device '1:2:3'. Error: '%s'"},
      {"Stream.StartStreaming", "PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: '%s'"},
      {"Device.WriteMem", kNotLocked},
      {"Stream.FinishGrab", kStreamNotFinished},
      {"Device.WriteMem", kNotLocked},
      {"Stream.Close"},
      kDeregister,
      kDeregister,
      kClose}},
    {"DeviceTakeEvents",
     &FailureRoad::TakeEvents,
     {kOpen,
      kRegister,
      kRegister,
      {"Events.RegisterWaitObject", "Failed to register wait object: %s"},
      {"Events.Open", "Failed to open event stream grabber: %s"},
      {"Events.RetrieveEvent", "Failed to get next message from event stream : %1$s (0x%2$08X)"},
      {"Events.Close"},
      kDeregister,
      kDeregister,
      kClose}},
};

INSTANTIATE_TEST_SUITE_P(Roads, FailureRoad, testing::ValuesIn(kRoads),
                         [](const auto& road) { return std::string(road.param.name); });

} // namespace
