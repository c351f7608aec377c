#include "tavixusb/support/DeviceFixture.h"

#include <ostream>
#include <stdexcept>

using testing::ElementsAre;

namespace {

const LogLine kRetry{"Tavix.USB.TL", 128, "Failed to open device. Retry."};

class TavixUsbDevice : public DeviceFixture {};

TEST_F(TavixUsbDevice, IsMadeClosed) {
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(Tavix::AccessModeSet(), device->AccessMode());
    EXPECT_EQ(2u, bus.lastDeviceType);
    EXPECT_THAT(bus.Calls(), ElementsAre("CreateDevice", "Device.GetStream", "Device.GetEventStream"));
}

TEST_F(TavixUsbDevice, SaysThatItIsMade) {
    EXPECT_THAT(log.From(kDeviceLog),
                ElementsAre(LogLine{kDeviceLog, 64, "Creating device '1:2:3' using 'Libusb'"},
                            LogLine{kDeviceLog, 32, "Migration mode for device '1:2:3' changed to 0"},
                            LogLine{kDeviceLog, 64, "Created device '1:2:3' successfully."}));
}

TEST_F(TavixUsbDevice, MakesItsGrabbersBeforeItSaysThatItIsMade) {
    std::vector<std::string> texts;
    for (const LogLine& line : log.All())
        texts.push_back(line.text);
    EXPECT_THAT(texts,
                ElementsAre("Creating stream grabber for device '1:2:3'.",
                            "Created stream grabber for device '1:2:3' successfully.",
                            "Creating device '1:2:3' using 'Libusb'", "Migration mode for device '1:2:3' changed to 0",
                            "Created device '1:2:3' successfully."));
}

TEST_F(TavixUsbDevice, IsMadeUsingWhatItsInfoSays) {
    Destroy();
    Tavix::CDeviceInfo info = MakeCameraInfo();
    info.SetPropertyValue("UsbDriverTypeName", "N/A");
    Make(info);
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Creating device '1:2:3' using 'N/A'"}));
    EXPECT_EQ(2u, bus.lastDeviceType);
}

TEST_F(TavixUsbDevice, IsNotMadeWithoutDeviceObject) {
    constexpr char kText[] = "Failed to create USB device for device '1:2:3'.";
    bus.createsDevices = false;
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevice.cpp", kText, Tavix::CTavixUsbDevice{MakeCameraInfo()});
    EXPECT_EQ(1, log.Count({kDeviceLog, 256, kText}));
}

TEST_F(TavixUsbDevice, LeavesNothingBehindWhenItCannotBeMade) {
    for (const char* step : {"Device.GetStream", "Device.GetEventStream"}) {
        bus.onCall = [step](const std::string& call) {
            if (call == step) throw std::runtime_error(step);
        };
        EXPECT_THROW(Tavix::CTavixUsbDevice{MakeCameraInfo()}, std::runtime_error);
        EXPECT_EQ(1, bus.liveDevices) << step; // the fixture's
    }
}

TEST_F(TavixUsbDevice, OffersItsTransportLayerParametersFromTheBeginning) {
    bus.deviceProperties[0x200] = FakeVexlo::Number(7, 8);
    EXPECT_EQ(7, Integer(device->GetTLNodeMap(), "Statistic_Read_Pipe_Reset_Count").GetValue());
    EXPECT_EQ("", device->GetTLNodeMap()->GetDeviceName());
}

TEST_F(TavixUsbDevice, KeepsItsInfo) {
    EXPECT_EQ("CamModel", device->GetDeviceInfo().GetModelName());
    EXPECT_EQ("CamModel (123)", device->GetDeviceInfo().GetFriendlyName());
}

TEST_F(TavixUsbDevice, HasOneStreamGrabberAlsoWhileClosed) {
    EXPECT_EQ(1u, device->GetNumStreamGrabberChannels());
    EXPECT_NE(nullptr, device->GetStreamGrabber(0));
}

TEST_F(TavixUsbDevice, HasNoOtherStreamGrabberAndSaysSo) {
    EXPECT_EQ(nullptr, device->GetStreamGrabber(1));
    EXPECT_EQ(1, log.Count({kDeviceLog, 128, "Invalid StreamIndex 1. Only stream index zero is supported."}));
    EXPECT_EQ(nullptr, device->GetStreamGrabber(~0u));
    EXPECT_EQ(1, log.Count({kDeviceLog, 128, "Invalid StreamIndex 4294967295. Only stream index zero is supported."}));
}

TEST_F(TavixUsbDevice, HasAnEventGrabberOnlyWhileOpen) {
    EXPECT_EQ(nullptr, device->GetEventGrabber());
    Open();
    EXPECT_NE(nullptr, device->GetEventGrabber());
    device->Close();
    EXPECT_EQ(nullptr, device->GetEventGrabber());
}

TEST_F(TavixUsbDevice, OpensAndKeepsTheAccessModes) {
    log.Forget();
    device->Open(Tavix::AccessModeSet(0x1'0000'000A));
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(Tavix::AccessModeSet(0x1'0000'000A), device->AccessMode());
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kDeviceLog, 64, "Opening device '1:2:3' accessMode: 0xa"},
                                       LogLine{kDeviceLog, 64, "Opened device '1:2:3' successfully"}));
}

TEST_F(TavixUsbDevice, OpensNoGrabber) {
    Open();
    EXPECT_FALSE(device->GetStreamGrabber(0)->IsOpen());
    EXPECT_FALSE(device->GetEventGrabber()->IsOpen());
}

TEST_F(TavixUsbDevice, KeepsTheAccessModesOfTheLastOpenThatSucceeded) {
    Open();
    device->Close();
    EXPECT_EQ(Tavix::DefaultAccessMode(), device->AccessMode());
    bus.Script("Device.Open", {1, 2, 3, 4, 5});
    EXPECT_THROW(device->Open(Tavix::AccessModeSet(2)), GenICam::RuntimeException);
    bus.onCall = [](const std::string& call) {
        if (call == "RegisterCallback") throw std::runtime_error("no memory");
    };
    EXPECT_THROW(device->Open(Tavix::AccessModeSet(2)), std::runtime_error);
    EXPECT_EQ(Tavix::DefaultAccessMode(), device->AccessMode());
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(0, bus.openDevices);
}

TEST_F(TavixUsbDevice, SaysThatItOpensAlsoWhenItRefuses) {
    Open();
    log.Forget();
    EXPECT_THROW(Open(), GenICam::LogicalErrorException);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kDeviceLog, 64, "Opening device '1:2:3' accessMode: 0x1a"}));
}

TEST_F(TavixUsbDevice, ListensForRemovalBeforeItIsOpen) {
    bool wasOpen = true;
    bus.onCall = [&](const std::string& call) {
        if (call == "RegisterCallback") wasOpen = device->IsOpen();
    };
    bus.ForgetCalls();
    Open();
    EXPECT_FALSE(wasOpen);
    EXPECT_THAT(bus.Calls(), ElementsAre("Device.Open", "RegisterCallback", "RegisterCallback"));
}

TEST_F(TavixUsbDevice, RefusesToOpenTwice) {
    Open();
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevice.cpp", "Device is already open.", Open());
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(1, bus.Count("Device.Open"));
}

TEST_F(TavixUsbDevice, OpensAtTheFifthAttempt) {
    bus.Script("Device.Open", {1, 2, 3, 4});
    Open();
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(4, log.Count(kRetry));
    EXPECT_EQ(5, bus.Count("Device.Open"));
}

TEST_F(TavixUsbDevice, GivesUpAfterFiveAttempts) {
    log.Forget();
    bus.Script("Device.Open", {1, 2, 3, 4, kFailure});
    EXPECT_FAILURE(RuntimeException, "TavixUsbDevice.cpp", "Failed to open device '1:2:3'! Error: 'text E2000777'",
                   device->Open(~Tavix::AccessModeSet()));
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(Tavix::AccessModeSet(), device->AccessMode());
    EXPECT_EQ(0, bus.Count("RegisterCallback"));
    EXPECT_THAT(log.All(),
                ElementsAre(LogLine{kDeviceLog, 64, "Opening device '1:2:3' accessMode: 0xffffffff"}, kRetry, kRetry,
                            kRetry, kRetry,
                            LogLine{kDeviceLog, 256, "Open: Failed to open device '1:2:3'! Error: 'text E2000777'"}));
}

TEST_F(TavixUsbDevice, OpensWithARecordMadeOfItsInfo) {
    Destroy();
    Tavix::CDeviceInfo info = MakeCameraInfo();
    info.SetPropertyValue("SpeedSupportBitmask", "1");
    info.SetPropertyValue("UsbPortVersionBcd", "0x200");
    info.SetUserDefinedName("mine");
    Make(info);
    Open();
    const vexlo::DeviceDiscoveryInfo& record = bus.lastOpenRecord;
    EXPECT_EQ(1, record.DeviceIndex);
    EXPECT_EQ(0x1ab2, record.VendorId);
    EXPECT_EQ(0x12ab, record.ProductId);
    EXPECT_STREQ("123", record.FallbackSerialNumber);
    EXPECT_STREQ("CamModel", record.FallbackModelName);
    EXPECT_STREQ("Vandrel", record.FallbackVendorName);
    EXPECT_STREQ("123", record.SerialNumber);
    EXPECT_STREQ("made with care", record.ManufacturerInfo);
    EXPECT_STREQ("mine", record.UserDefinedName);
    EXPECT_STREQ("1AB2000000AF", record.DeviceGUID);
    EXPECT_STREQ("Vandrel", record.VendorName);
    EXPECT_STREQ("CamModel", record.ModelName);
    EXPECT_STREQ(kCameraPath, record.DevicePath);
    EXPECT_EQ(2, record.UsbDriverType);
    EXPECT_EQ(0x0300, record.UsbPortVersionBcd);
    EXPECT_EQ(0xFF, record.SpeedSupportBitmask);
}

TEST_F(TavixUsbDevice, RefusesToCloseWhenClosed) {
    log.Forget();
    EXPECT_FAILURE(LogicalErrorException, "TavixUsbDevice.cpp", "Device is already closed.", device->Close());
    EXPECT_EQ(0, bus.Count("Device.Close"));
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kDeviceLog, 64, "Closing device '1:2:3'"}));
}

TEST_F(TavixUsbDevice, OnlyWarnsWhenItIsClosedFromInsideWhileClosed) {
    Load(CameraXmlWithChunks());
    Tavix::IChunkParser* const parser = device->CreateChunkParser();
    log.Forget();
    device->InternalClose();
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kDeviceLog, 128,
                                               "InternalClose: Device '1:2:3' is not open and cannot be closed."}));
    EXPECT_EQ(0, bus.Count("Device.Close"));
    EXPECT_THROW(device->DestroyChunkParser(parser), GenICam::RuntimeException);
}

TEST_F(TavixUsbDevice, ClosesGrabbersNotificationsAndUsbDeviceInThisOrder) {
    Open();
    device->GetStreamGrabber(0)->Open();
    device->GetEventGrabber()->Open();
    bus.ForgetCalls();
    device->Close();
    EXPECT_FALSE(device->IsOpen());
    EXPECT_THAT(bus.Calls(), ElementsAre("Stream.Close", "Events.Close", "DeregisterCallback", "DeregisterCallback",
                                         "Device.Close"));
}

TEST_F(TavixUsbDevice, SaysThatItCloses) {
    Open();
    log.Forget();
    device->Close();
    EXPECT_THAT(log.From(kDeviceLog), ElementsAre(LogLine{kDeviceLog, 64, "Closing device '1:2:3'"},
                                                  LogLine{kDeviceLog, 64, "Closed device '1:2:3' successfully."}));
}

TEST_F(TavixUsbDevice, IsClosedAlsoWhenTheUsbDeviceDoesNotClose) {
    Open();
    bus.FailNext("Device.Close", kFailure);
    EXPECT_NO_THROW(device->Close());
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(1,
              log.Count({kDeviceLog, 256, "InternalClose: Failed to close device: '1:2:3'. Error: 'text E2000777'"}));
}

TEST_F(TavixUsbDevice, FinishesAGrabWhenItCloses) {
    Load(CameraXml());
    Open();
    device->GetStreamGrabber(0)->Open();
    device->GetStreamGrabber(0)->PrepareGrab();
    device->Close();
    EXPECT_EQ(1, bus.Count("Stream.FinishGrab"));
    EXPECT_FALSE(device->GetStreamGrabber(0)->IsOpen());
    EXPECT_EQ(0, bus.memory[0x200]);
}

TEST_F(TavixUsbDevice, StaysOpenWhenItsGrabCannotBeFinishedAndClosesNextTime) {
    Open();
    device->GetStreamGrabber(0)->Open();
    device->GetStreamGrabber(0)->PrepareGrab();
    bus.FailNext("Stream.FinishGrab", kFailure);
    EXPECT_THROW(device->Close(), GenICam::RuntimeException);
    EXPECT_TRUE(device->IsOpen());
    EXPECT_NO_THROW(device->Close());
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(TavixUsbDevice, OpensAgainAfterAClose) {
    Open();
    device->Close();
    Open();
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(2u, bus.NumberOfRegistrations());
}

TEST_F(TavixUsbDevice, ClosesOnDestructionAndWarns) {
    Open();
    log.Forget();
    bus.ForgetCalls();
    Destroy();
    EXPECT_THAT(
        log.From(kDeviceLog),
        ElementsAre(LogLine{kDeviceLog, 64, "Destroying device '1:2:3'"},
                    LogLine{kDeviceLog, 128,
                            "Device '1:2:3' still open on destruction. Please call ITavixDevice::Close() before "
                            "destroying the device."},
                    LogLine{kDeviceLog, 64, "Destroyed device '1:2:3' successfully."}));
    EXPECT_THAT(bus.Calls(), ElementsAre("DeregisterCallback", "DeregisterCallback", "Device.Close", "DestroyDevice"));
}

TEST_F(TavixUsbDevice, IsDestroyedQuietlyWhenClosed) {
    log.Forget();
    Destroy();
    EXPECT_THAT(log.From(kDeviceLog), ElementsAre(LogLine{kDeviceLog, 64, "Destroying device '1:2:3'"},
                                                  LogLine{kDeviceLog, 64, "Destroyed device '1:2:3' successfully."}));
}

TEST_F(TavixUsbDevice, LogsAndSurvivesAFailureToCloseOnDestruction) {
    Load(CameraXmlWithChunks());
    Open();
    device->CreateChunkParser(); // the leak checker looks
    device->CreateEventAdapter();
    device->GetStreamGrabber(0)->Open();
    device->GetStreamGrabber(0)->PrepareGrab();
    bus.FailNext("Stream.FinishGrab", kFailure);
    Destroy();
    EXPECT_EQ(1, log.Count({kDeviceLog, 256, "Exception(1) in ~CTavixUsbDevice for Device '1:2:3'. Close() failed."}));
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Destroyed device '1:2:3' successfully."}));
    EXPECT_EQ(1, bus.Count("DestroyDevice"));
}

TEST_F(TavixUsbDevice, LogsAndSurvivesAFailureToDestroyTheUsbDevice) {
    bus.throwsOnDestroy = true;
    Destroy();
    EXPECT_EQ(1, log.Count({kDeviceLog, 256, "Exception(2) in ~CTavixUsbDevice for Device '1:2:3'. Close() failed."}));
    EXPECT_EQ(1, log.Count({kDeviceLog, 64, "Destroyed device '1:2:3' successfully."}));
}

struct PortMode {
    std::uint64_t modes;
    GenApi::EAccessMode expected;
};

void PrintTo(const PortMode& row, std::ostream* to) {
    *to << std::hex << "0x" << row.modes;
}
class TavixUsbDeviceAccess : public DeviceFixture, public testing::WithParamInterface<PortMode> {};
TEST_P(TavixUsbDeviceAccess, DecidesTheModeOfThePort) {
    EXPECT_EQ(GenApi::NA, device->GetAccessMode());
    device->Open(Tavix::AccessModeSet(GetParam().modes));
    EXPECT_EQ(GetParam().expected, device->GetAccessMode());
    device->Close();
    EXPECT_EQ(GenApi::NA, device->GetAccessMode());
}
INSTANTIATE_TEST_SUITE_P(Modes, TavixUsbDeviceAccess,
                         testing::Values(PortMode{0, GenApi::RO}, PortMode{1 << 1, GenApi::RW},
                                         PortMode{1 << 5, GenApi::RW}, PortMode{(1 << 1) | (1 << 5), GenApi::RW},
                                         PortMode{~std::uint64_t((1 << 1) | (1 << 5)), GenApi::RO}));

} // namespace
