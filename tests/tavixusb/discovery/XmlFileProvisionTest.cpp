// How the transport layer downloads a camera's description.

#include "TavixTL_USB/TavixUSB/discovery/PowerRequest.h"

#include "tavixusb/support/TransportLayerTest.h"

#include "vexlo/VxDevice.h"

using testing::ElementsAre;

namespace {

constexpr char kProvisionLog[] = "Tavix.USB.TL";
const LogLine kOpenedAgain{kProvisionLog, 128, "Failed to open device. Retry."};
const LogLine kSuccess{kProvisionLog, 64, "ProvideXmlFile: Successfully downloaded XML file from device: '1:2:3'"};

class XmlFileProvision : public TransportLayerTest {
protected:
    XmlFileProvision() {
        bus.xmlText = "<description/>";
        bus.xmlName = "camera.xml";
    }

    void Provide() { tl->GetXmlFileProvider()->ProvideXmlFile(info, fileName, xml); }
    void AskForPower(const char* power) { info.SetPropertyValue("_sap", power); }
    void ExpectNothing() {
        EXPECT_EQ("", fileName);
        EXPECT_EQ("", xml);
        EXPECT_EQ(0, bus.liveDevices);
        EXPECT_EQ(0, bus.openDevices);
        EXPECT_EQ(0, log.Count(kSuccess));
    }

    Tavix::CDeviceInfo info = MakeCameraInfo();
    Tavix::gcstring fileName = "old name", xml = "old text";
};

TEST_F(XmlFileProvision, IsOfferedForEveryDevice) {
    EXPECT_TRUE(tl->GetXmlFileProvider()->CanProvideXmlFile(info));
    EXPECT_TRUE(tl->GetXmlFileProvider()->CanProvideXmlFile(Tavix::CDeviceInfo()));
}

TEST_F(XmlFileProvision, OpensDownloadsClosesAndDestroys) {
    Provide();
    EXPECT_EQ("<description/>", xml);
    EXPECT_EQ("camera.xml", fileName);
    EXPECT_THAT(bus.Calls(), ElementsAre("DeviceInfoFromPath", "CreateDevice", "Device.Open", "Device.ProvideXmlFile",
                                         "Device.Close", "DestroyDevice"));
    EXPECT_THAT(log.All(), ElementsAre(kSuccess));
}

TEST_F(XmlFileProvision, SaysThatItSucceededWhenTheDeviceObjectIsGone) {
    bus.onCall = [this](const std::string& call) {
        if (call == "DestroyDevice") log.Forget();
    };
    Provide();
    EXPECT_THAT(log.All(), ElementsAre(kSuccess));
}

TEST_F(XmlFileProvision, OpensWithTheRecordAndTheDriverOfTheBus) {
    bus.cameras[0].UsbDriverType = vexlo::UsbDriverType_Vandrel;
    Provide();
    EXPECT_EQ(1u, bus.lastDeviceType);
    EXPECT_EQ(0x0F, bus.lastOpenRecord.SpeedSupportBitmask);
    EXPECT_STREQ(kCameraPath, bus.lastOpenRecord.DevicePath);
}

TEST_F(XmlFileProvision, LeavesEmptyWhatTheCameraDoesNotTell) {
    bus.hasXmlName = bus.hasXmlText = false;
    Provide();
    EXPECT_EQ("", fileName);
    EXPECT_EQ("", xml);
}

TEST_F(XmlFileProvision, FailsForACameraThatIsNotThere) {
    bus.FailNext("DeviceInfoFromPath", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp", "Failed to find device for XML file download: '1:2:3'",
                   Provide());
    ExpectNothing();
    EXPECT_THAT(log.All(),
                ElementsAre(LogLine{kProvisionLog, 256, "Failed to find device for XML file download: '1:2:3'"}));
}

TEST_F(XmlFileProvision, FailsWithoutDeviceObject) {
    bus.createsDevices = false;
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp", "Failed to create USB device for XML file download.", Provide());
    ExpectNothing();
    EXPECT_THAT(log.All(),
                ElementsAre(LogLine{kProvisionLog, 256, "Failed to create USB device for XML file download."}));
}

TEST_F(XmlFileProvision, TriesToOpenFiveTimes) {
    bus.Script("Device.Open", {kFailure, kFailure, kFailure, kFailure});
    Provide();
    EXPECT_EQ(4, log.Count(kOpenedAgain));
    EXPECT_EQ("<description/>", xml);
}

TEST_F(XmlFileProvision, FailsAfterTheFifthAttemptWithTheLastStatus) {
    bus.Script("Device.Open", {1, 2, 3, 4, kFailure});
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp",
                   "Failed to open device '1:2:3' for XML file download. Error: 'text E2000777'", Provide());
    ExpectNothing();
    EXPECT_EQ(5, bus.Count("Device.Open"));
    EXPECT_THAT(log.All(), ElementsAre(kOpenedAgain, kOpenedAgain, kOpenedAgain, kOpenedAgain,
                                       LogLine{kProvisionLog, 256,
                                               "Failed to open device '1:2:3' for XML file download. "
                                               "Error: 'text E2000777'"}));
}

TEST_F(XmlFileProvision, ClosesAndFailsWhenTheDownloadFails) {
    bus.FailNext("Device.ProvideXmlFile", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp",
                   "Failed to retrieve XML file from camera device '1:2:3'. Error: 'text E2000777'", Provide());
    ExpectNothing();
    EXPECT_EQ(1, bus.Count("Device.Close"));
    EXPECT_EQ(1, log.Count({kProvisionLog, 256,
                            "Failed to retrieve XML file from camera device '1:2:3'. Error: 'text E2000777'"}));
}

TEST_F(XmlFileProvision, TellsOfBothWhenDownloadAndCloseFail) {
    bus.FailNext("Device.ProvideXmlFile", kFailure);
    bus.FailNext("Device.Close", 1);
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp",
                   "Failed to retrieve XML file from camera device '1:2:3'. Error: 'text E2000777'", Provide());
    EXPECT_EQ(1, log.Count({kProvisionLog, 256,
                            "ProvideXmlFile: Failed to close device after XML file download: text 00000001"}));
}

TEST_F(XmlFileProvision, OnlyLogsAFailureToClose) {
    bus.FailNext("Device.Close", kFailure);
    Provide();
    EXPECT_EQ("<description/>", xml);
    EXPECT_THAT(log.All(),
                ElementsAre(LogLine{kProvisionLog, 256,
                                    "ProvideXmlFile: Failed to close device after XML file download: text E2000777"},
                            kSuccess));
}

TEST_F(XmlFileProvision, AsksForPowerBeforeTheDownload) {
    AskForPower("65535");
    Provide();
    using Written = std::pair<unsigned int, FakeVexlo::Bytes>;
    EXPECT_THAT(bus.written,
                ElementsAre(Written(0xAFFE0000, {0xBA}), Written(0xAFFE0100, {1, 0}), Written(0xAFFE0200, {0xFF, 0xFF}),
                            Written(0xAFFE0300, {4, 0}), Written(0xAFFF0000, {0, 0, 0, 0}), Written(0xAFFE0400, {0})));
    EXPECT_THAT(bus.Calls(),
                ElementsAre("DeviceInfoFromPath", "CreateDevice", "Device.Open", "Device.SetProperty",
                            "Device.SetProperty", "Device.SetProperty", "Device.SetProperty", "Device.SetProperty",
                            "Device.SetProperty", "Device.GetProperty", "Device.Close", "Device.Open",
                            "Device.ProvideXmlFile", "Device.Close", "DestroyDevice"));
    EXPECT_EQ(1, log.Count({kProvisionLog, 64, "Setting power for device '1:2:3' to '65535'"}));
    EXPECT_EQ("<description/>", xml);
}

TEST_F(XmlFileProvision, ClaimsUsb3AfterAPowerRequest) {
    bus.cameras[0].UsbPortVersionBcd = 0x0200;
    AskForPower("500");
    Provide();
    EXPECT_EQ(0x0300, bus.lastOpenRecord.UsbPortVersionBcd);
    EXPECT_EQ(0xFF, bus.lastOpenRecord.SpeedSupportBitmask);
}

class PowerOutOfRange : public XmlFileProvision, public testing::WithParamInterface<const char*> {};
TEST_P(PowerOutOfRange, FailsBeforeAnyRequest) {
    AskForPower(GetParam());
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp", "Failed to set power for device '1:2:3'. Error: 'text E2000008'",
                   Provide());
    ExpectNothing();
    EXPECT_EQ(0, bus.Count("Device.Open"));
    EXPECT_EQ(0, bus.Count("Device.SetProperty"));
    EXPECT_THAT(
        log.All(),
        ElementsAre(LogLine{kProvisionLog, 64, std::string("Setting power for device '1:2:3' to '") + GetParam() + "'"},
                    LogLine{kProvisionLog, 256, "Failed to set power for device '1:2:3'. Error: 'text E2000008'"}));
}
INSTANTIATE_TEST_SUITE_P(Values, PowerOutOfRange,
                         testing::Values("65536", "-1", "4294967296", "-65536", "99999999999999999999"));

class PowerRequestStep : public XmlFileProvision, public testing::WithParamInterface<int> {};
TEST_P(PowerRequestStep, StopsTheRequestWhenItFails) {
    AskForPower("100");
    std::vector<vexlo::VxStatus> statuses(GetParam(), 0);
    statuses.push_back(kFailure);
    bus.Script("Device.SetProperty", statuses);
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp", "Failed to set power for device '1:2:3'. Error: 'text E2000777'",
                   Provide());
    EXPECT_EQ(GetParam() + 1, bus.Count("Device.SetProperty"));
    EXPECT_EQ(0, bus.Count("Device.GetProperty"));
    EXPECT_EQ(1, bus.Count("Device.Close"));
    ExpectNothing();
}
INSTANTIATE_TEST_SUITE_P(Each, PowerRequestStep, testing::Range(0, 6));

class FailingPowerRequest : public XmlFileProvision {
protected:
    FailingPowerRequest() { AskForPower("100"); }
    void ExpectFailure() {
        EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp",
                       "Failed to set power for device '1:2:3'. Error: 'text E2000777'", Provide());
        ExpectNothing();
        EXPECT_EQ(0, bus.Count("Device.ProvideXmlFile"));
        EXPECT_THAT(log.All(), ElementsAre(LogLine{kProvisionLog, 64, "Setting power for device '1:2:3' to '100'"},
                                           LogLine{kProvisionLog, 256,
                                                   "Failed to set power for device '1:2:3'. Error: 'text E2000777'"}));
    }
};

TEST_F(FailingPowerRequest, CannotReadTheAnswer) {
    bus.FailNext("Device.GetProperty", kFailure);
    ExpectFailure();
}

TEST_F(FailingPowerRequest, IsRefusedByTheCamera) {
    bus.answers[0xAFFF0000] = FakeVexlo::Number(kFailure, 4);
    ExpectFailure();
}

TEST_F(FailingPowerRequest, CannotOpenTheDeviceAndTriesOnce) {
    bus.FailNext("Device.Open", kFailure);
    ExpectFailure();
    EXPECT_EQ(1, bus.Count("Device.Open"));
    EXPECT_EQ(0, bus.Count("Device.SetProperty"));
    EXPECT_EQ(0, bus.Count("Device.Close"));
}

TEST_F(FailingPowerRequest, CannotCloseTheDevice) {
    bus.FailNext("Device.Close", kFailure);
    ExpectFailure();
}

TEST_F(FailingPowerRequest, TellsWhatFailedFirst) {
    bus.FailNext("Device.GetProperty", kFailure);
    bus.FailNext("Device.Close", 1);
    ExpectFailure();
}

TEST_F(XmlFileProvision, ReadsThePowerAsADecimalNumber) {
    AskForPower("0100");
    Provide();
    EXPECT_EQ((FakeVexlo::Bytes{100, 0}), bus.deviceProperties[0xAFFE0200]);
    AskForPower("0x100");
    Provide();
    EXPECT_EQ((FakeVexlo::Bytes{0, 0}), bus.deviceProperties[0xAFFE0200]);
}

TEST_F(XmlFileProvision, LeavesADeviceOpenThatWasOpenBeforeThePowerRequest) {
    AskForPower("100");
    vexlo::CVxDevice* const device = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
    ASSERT_EQ(0u, device->Open(bus.cameras[0]));
    EXPECT_EQ(0u, Tavix::RequestPower(*device, info, bus.cameras[0]));
    EXPECT_TRUE(device->IsOpen());
    EXPECT_EQ(1, bus.Count("Device.Open"));
    EXPECT_EQ(0, bus.Count("Device.Close"));
    vexlo::CVxDevice::DestroyDevice(device);
}

} // namespace
