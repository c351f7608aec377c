// Whether a camera can be opened now.

#include "tavixusb/support/AllStatuses.h"
#include "tavixusb/support/TransportLayerTest.h"

#include <cstring>
#include <stdexcept>

using testing::ElementsAre;

namespace {

constexpr char kTl[] = "Tavix.USB.TL";

LogLine Answer(int info) {
    return {kTl, 32, "IsAccessible() for device '1:2:3' returned " + std::to_string(info)};
}

class DeviceAccessibility : public TransportLayerTest {
protected:
    bool Ask() { return tl->IsDeviceAccessible(info, Tavix::DefaultAccessMode(), &access); }

    Tavix::CDeviceInfo info = MakeCameraInfo();
    Tavix::EDeviceAccessiblityInfo access = Tavix::Accessibility_NotReachable;
};

TEST_F(DeviceAccessibility, IsGoodWhenTheCameraOpensAndCloses) {
    EXPECT_TRUE(Ask());
    EXPECT_EQ(1, access);
    EXPECT_THAT(bus.Calls(), ElementsAre("DeviceInfoFromPath", "CreateDevice", "Device.SetProperty", "Device.Open",
                                         "Device.Close", "DestroyDevice"));
    EXPECT_THAT(log.All(), ElementsAre(Answer(1)));
}

TEST_F(DeviceAccessibility, TellsTheLibraryThatItOnlyLooks) {
    EXPECT_TRUE(Ask());
    EXPECT_EQ(bus.deviceProperties[vexlo::CVxDevice::Property_OpenAsProbe], FakeVexlo::Number(1, 1));
}

TEST_F(DeviceAccessibility, IsUnknownWhenNoCameraIsAtThatPath) {
    bus.cameras = {MakeCameraRecord("1:2:4")}; // the same camera, by GUID and serial number
    EXPECT_FALSE(Ask());
    EXPECT_EQ(0, access);
    EXPECT_EQ(0, bus.Count("Device.Open"));
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256,
                                               "InternalIsDeviceAccessible: Error checking accessibility of device "
                                               "'1:2:3'. (Err=0xe2000002 'text E2000002')"},
                                       Answer(0)));
    EXPECT_THROW(tl->CreateDevice(info), GenICam::RuntimeException) << "nor can it be created";
}

TEST_F(DeviceAccessibility, StaysGoodWhenTheCameraDoesNotClose) {
    bus.FailNext("Device.Close", kFailure);
    EXPECT_TRUE(Ask());
    EXPECT_EQ(1, access);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 128,
                                               "InternalIsDeviceAccessible: Failed to close device after checking "
                                               "accessibility: text E2000777"},
                                       Answer(1)));
}

TEST_F(DeviceAccessibility, TellsThatTheCameraIsInUseWithoutAnErrorLine) {
    bus.FailNext("Device.Open", 0xE201013F);
    EXPECT_FALSE(Ask());
    EXPECT_EQ(3, access);
    EXPECT_THAT(log.All(), ElementsAre(Answer(3)));
    EXPECT_EQ(1, bus.Count("Device.Open")); // one attempt
}

TEST_F(DeviceAccessibility, IsUnknownForAnyOtherStatus) {
    bus.FailNext("Device.Open", kFailure);
    EXPECT_FALSE(Ask());
    EXPECT_EQ(0, access);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256,
                                               "InternalIsDeviceAccessible: Error checking accessibility of device "
                                               "'1:2:3'. (Err=0xe2000777 'text E2000777')"},
                                       Answer(0)));
}

TEST_F(DeviceAccessibility, IsUnknownWithoutDeviceObject) {
    bus.createsDevices = false;
    EXPECT_FALSE(Ask());
    EXPECT_EQ(0, access);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256,
                                               "InternalIsDeviceAccessible: Failed to create USB device for checking "
                                               "accessibility."},
                                       Answer(0)));
}

TEST_F(DeviceAccessibility, IsUnknownAfterAnExceptionWithText) {
    constexpr char kText[] = "InternalIsDeviceAccessible: Error checking accessibility of device '1:2:3': no luck.";
    bus.onCall = [](const std::string& call) {
        if (call == "Device.Open") throw std::runtime_error("no luck");
    };
    EXPECT_FALSE(Ask());
    EXPECT_EQ(0, access);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256, kText}, Answer(0)));
    log.Forget();
    bus.onCall = [](const std::string& call) {
        if (call == "Device.Open") throw RUNTIME_EXCEPTION("no luck");
    };
    EXPECT_FALSE(Ask());
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256, kText}, Answer(0)));
    EXPECT_EQ(0, bus.liveDevices);
}

TEST_F(DeviceAccessibility, NamesTheFunctionAfterAnExceptionWithoutText) {
    bus.onCall = [](const std::string& call) {
        if (call == "CreateDevice") throw 1;
    };
    EXPECT_FALSE(Ask());
    EXPECT_EQ(0, access);
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 256,
                                               "Unknown error checking accessibility of device "
                                               "'InternalIsDeviceAccessible'."},
                                       Answer(0)));
}

TEST_F(DeviceAccessibility, NeedsNoPlaceForTheInfo) {
    EXPECT_TRUE(tl->IsDeviceAccessible(info));
    bus.FailNext("Device.Open", kFailure);
    EXPECT_FALSE(tl->IsDeviceAccessible(info));
}

TEST_F(DeviceAccessibility, DoesNotDependOnTheAccessModes) {
    EXPECT_TRUE(tl->IsDeviceAccessible(info, Tavix::AccessModeSet(), &access));
    EXPECT_TRUE(tl->IsDeviceAccessible(info, ~Tavix::AccessModeSet(), &access));
}

TEST_F(DeviceAccessibility, ProbesWithARecordMadeOfTheInfo) {
    info.SetPropertyValue("VendorId", "0x1ab2");
    info.SetPropertyValue("ProductId", "0x1234");
    info.SetPropertyValue("DeviceIdx", "0x7");
    info.SetPropertyValue("SpeedSupportBitmask", "15");
    info.SetPropertyValue("UsbPortVersionBcd", "0x210");
    info.SetUserDefinedName("mine");
    info.ClearUserProvided();
    Ask();
    const vexlo::DeviceDiscoveryInfo& record = bus.lastOpenRecord;
    EXPECT_EQ(7, record.DeviceIndex);
    EXPECT_EQ(0x1ab2, record.VendorId);
    EXPECT_EQ(0x1234, record.ProductId);
    EXPECT_EQ(0x34, record.SpeedSupportBitmask); // of the product id
    EXPECT_EQ(0x0210, record.UsbPortVersionBcd);
    EXPECT_EQ(2, record.UsbDriverType);
    EXPECT_EQ(2u, bus.lastDeviceType);
    EXPECT_STREQ("123", record.SerialNumber);
    EXPECT_STREQ("123", record.FallbackSerialNumber);
    EXPECT_STREQ("CamModel", record.ModelName);
    EXPECT_STREQ("CamModel", record.FallbackModelName);
    EXPECT_STREQ("Vandrel", record.VendorName);
    EXPECT_STREQ("Vandrel", record.FallbackVendorName);
    EXPECT_STREQ("made with care", record.ManufacturerInfo);
    EXPECT_STREQ("mine", record.UserDefinedName);
    EXPECT_STREQ("1AB2000000AF", record.DeviceGUID);
    EXPECT_STREQ(kCameraPath, record.DevicePath);
}

TEST_F(DeviceAccessibility, ProbesThroughLibusbWhateverTheInfoSays) {
    info.SetPropertyValue("UsbDriverTypeName", "WinUSB");
    info.ClearUserProvided();
    Ask();
    EXPECT_EQ(2, bus.lastOpenRecord.UsbDriverType);
    EXPECT_EQ(2u, bus.lastDeviceType);
}

TEST_F(DeviceAccessibility, LeavesFieldsOfUnsetPropertiesEmpty) {
    info = Tavix::CDeviceInfo();
    info.SetFullName(kCameraPath);
    info.ClearUserProvided();
    EXPECT_TRUE(Ask());
    vexlo::DeviceDiscoveryInfo expected = {};
    SetText(expected.DevicePath, kCameraPath);
    expected.UsbDriverType = 2;
    EXPECT_EQ(0, std::memcmp(&expected, &bus.lastOpenRecord, sizeof expected));
}

TEST_F(DeviceAccessibility, ReadsThePortVersionWithoutPrefixToo) {
    info.SetPropertyValue("UsbPortVersionBcd", "310");
    info.ClearUserProvided();
    Ask();
    EXPECT_EQ(0x0310, bus.lastOpenRecord.UsbPortVersionBcd);
}

TEST_F(DeviceAccessibility, CutsTextsThatAreTooLong) {
    info.SetSerialNumber(std::string(300, 's'));
    info.ClearUserProvided();
    Ask();
    EXPECT_EQ(std::string(255, 's'), bus.lastOpenRecord.SerialNumber);
    EXPECT_STREQ("CamModel", bus.lastOpenRecord.FallbackModelName);
}

TEST_F(DeviceAccessibility, AsksForPowerFirst) {
    info.SetPropertyValue("_sap", "500");
    info.ClearUserProvided();
    EXPECT_TRUE(Ask());
    EXPECT_EQ(7, bus.Count("Device.SetProperty"));
    EXPECT_EQ(2, bus.Count("Device.Open"));
    EXPECT_THAT(log.All(), ElementsAre(LogLine{kTl, 64, "Setting power for device '1:2:3' to '500'"}, Answer(1)));
}

TEST_F(DeviceAccessibility, GoesOnWhenThePowerRequestFails) {
    info.SetPropertyValue("_sap", "65536");
    info.ClearUserProvided();
    EXPECT_TRUE(Ask());
    EXPECT_EQ(1, log.Count({kTl, 256,
                            "InternalIsDeviceAccessible: Failed to prepare device for checking accessibility: "
                            "0xe2000008"}));
}

TEST_F(DeviceAccessibility, FindsTheCameraOfAPattern) {
    Tavix::CDeviceInfo pattern;
    pattern.SetSerialNumber("123");
    EXPECT_TRUE(tl->IsDeviceAccessible(pattern, Tavix::DefaultAccessMode(), &access));
    EXPECT_STREQ(kCameraPath, bus.lastOpenRecord.DevicePath);
}

TEST_F(DeviceAccessibility, FailsWhenAPatternFitsNoneOrTwo) {
    Tavix::CDeviceInfo pattern;
    pattern.SetSerialNumber("124");
    EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl",
                   "No device contains the provided device info properties.", tl->IsDeviceAccessible(pattern));
    bus.cameras = {MakeCameraRecord("a", "124"), MakeCameraRecord("b", "124")};
    EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl",
                   "Too many devices (1) match the provided device info properties, don't know which device to use.",
                   tl->IsDeviceAccessible(pattern));
    EXPECT_EQ(0, bus.Count("Device.Open"));
}

TEST_F(DeviceAccessibility, RefusesAnotherDeviceClassBeforeAnyUsbAccess) {
    constexpr char kText[] = "The device class Other is not supported by this transport layer. "
                             "This transport layer supports VandrelUsb.";
    Tavix::CDeviceInfo pattern;
    pattern.SetDeviceClass("Other");
    EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl", kText, tl->IsDeviceAccessible(pattern));
    EXPECT_THAT(log.All(), ElementsAre(LogLine{"tavix.base.TL", 256, kText}));
    EXPECT_THAT(bus.Calls(), testing::IsEmpty());
}

TEST_F(DeviceAccessibility, TellsOnlyOfACameraInUseThatItIsInUse) {
    for (const vexlo::VxStatus status : kAllFailures) {
        if (status == vexlo::VX_E_BUSY) continue;
        bus.FailNext("Device.Open", status);
        EXPECT_FALSE(Ask());
        EXPECT_EQ(0, access) << std::hex << status;
    }
}

} // namespace
