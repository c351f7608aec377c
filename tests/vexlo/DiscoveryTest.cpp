#include "vexlo/discovery/Discovery.h"

#include "tavixbase/support/LogRecorder.h"
#include "vexlo/support/Fixture.h"

#include <chrono>
#include <cstring>
#include <ostream>

namespace {

using namespace vexlotest;
using namespace scripted;
using Tavix::kWarning;

class Discovery : public OnScriptedCamera {
protected:
    std::vector<DeviceDiscoveryInfo> All() {
        Collector collector;
        EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
        return collector.found;
    }
    Tavix::LogRecorder log{"Tavix.USB.Vexlo"};
};

TEST_F(Discovery, FillsTheRecordFromDescriptorsAndStrings) {
    const DeviceDiscoveryInfo info = Found();
    EXPECT_EQ(info.DeviceIndex, 0);
    EXPECT_EQ(info.VendorId, 0x1234);
    EXPECT_EQ(info.ProductId, 0xABCD);
    EXPECT_STREQ(info.SerialNumber, "Serial");
    EXPECT_STREQ(info.ModelName, "Model");
    EXPECT_STREQ(info.VendorName, "Vendor");
    EXPECT_STREQ(info.ManufacturerInfo, "Info");
    EXPECT_STREQ(info.UserDefinedName, "Name");
    EXPECT_STREQ(info.DeviceGUID, "123400000001");
    EXPECT_STREQ(info.DevicePath, "scripted:1#0");
    EXPECT_EQ(info.UsbDriverType, 2);
    EXPECT_EQ(info.UsbPortVersionBcd, 0x0300);
    EXPECT_EQ(info.SpeedSupportBitmask, 0x0C);
}

TEST_F(Discovery, ListsCamerasOnly) {
    Collector collector;
    ASSERT_EQ(CEnumerator::Discover(&collector), VX_OK);
    EXPECT_EQ(collector.found.size(), 1u);
}

TEST_F(Discovery, ListsACameraThatMayNotBeOpened) {
    camera.RefuseOpen(usb::Result::Access);
    const DeviceDiscoveryInfo info = Found();
    EXPECT_EQ(info.VendorId, 0x1234);
    EXPECT_STREQ(info.DevicePath, "scripted:1#0");
    EXPECT_STREQ(info.FallbackModelName, "USB3 Vision camera 1234:abcd");
    EXPECT_EQ(device->Open(info), VX_E_USB_ACCESS);
}

TEST_F(Discovery, ListsACameraWithoutStrings) {
    camera.HideStrings();
    const DeviceDiscoveryInfo info = Found();
    EXPECT_STREQ(info.SerialNumber, "");
    EXPECT_EQ(device->Open(info), VX_OK);
}

TEST_F(Discovery, FindsARecordByItsPath) {
    DeviceDiscoveryInfo info;
    EXPECT_EQ(CEnumerator::DeviceInfoFromPath("scripted:1#0", info), VX_OK);
    EXPECT_STREQ(info.ModelName, "Model");
    EXPECT_EQ(CEnumerator::DeviceInfoFromPath("scripted:2#0", info), VX_E_NOT_FOUND);
    EXPECT_EQ(CEnumerator::DeviceInfoFromPath(nullptr, info), VX_E_INVALID_PARAMETER);
}

TEST_F(Discovery, DoesNotLookForACameraBeyondItsPath) {
    DeviceDiscoveryInfo info = Found();
    std::strcpy(info.DevicePath, "scripted:77#0");
    EXPECT_EQ(device->Open(info), VX_E_NOT_FOUND) << "its GUID and serial number are on the bus";
    EXPECT_EQ(CEnumerator::DeviceInfoFromPath(info.DevicePath, info), VX_E_NOT_FOUND) << "one rule for both roads";
    info = Found();
    info.DevicePath[0] = '\0';
    EXPECT_EQ(device->Open(info), VX_E_NOT_FOUND);
    std::strcpy(info.DevicePath, "scripted:1#");
    EXPECT_EQ(device->Open(info), VX_E_NOT_FOUND) << "the beginning of a path is none";
    EXPECT_EQ(CEnumerator::DeviceInfoFromPath("scripted:1#", info), VX_E_NOT_FOUND);
}

TEST_F(Discovery, DoesNotTakeAnotherCameraAtTheSamePath) {
    DeviceDiscoveryInfo info = Found();
    std::strcpy(info.DeviceGUID, "123400000002");
    EXPECT_EQ(device->Open(info), VX_E_NOT_FOUND);
}

/// Association, control interface with Device Info and stream interface, beginning with interface `first`; endpoint
/// numbers of IN and OUT differ.
Bytes Function(std::uint8_t first, const char* out, const char* in, const char* stream) {
    const auto next = static_cast<std::uint8_t>(first + 1);
    return Hex("08 0B") + Bytes{first} + Hex("02 EF 05 00 0C  09 04") + Bytes{first} + Hex("00 02 EF 05 00 00") +
           Hex("14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C") + Hex("07 05") + Hex(out) +
           Hex("02 00 04 00  07 05") + Hex(in) + Hex("02 00 04 00  09 04") + Bytes{next} +
           Hex("00 01 EF 05 02 00  07 05") + Hex(stream) + Hex("02 00 04 00");
}

Bytes Configuration(std::uint8_t value, const Bytes& functions) {
    return Hex("09 02") + Little(9 + functions.size(), 2) + Bytes{4, value} + Hex("00 80 70") + functions;
}

TEST_F(Discovery, ListsEachFunctionOfADevice) {
    camera.Describe([](usb::DeviceEntry& entry) {
        entry.configurations = {Configuration(1, Function(0, "01", "81", "82") + Function(2, "03", "84", "85"))};
    });
    const auto found = All();
    ASSERT_EQ(found.size(), 2u);
    EXPECT_STREQ(found[0].DevicePath, "scripted:1#0");
    EXPECT_STREQ(found[1].DevicePath, "scripted:1#2");
    EXPECT_EQ(found[1].DeviceIndex, 1);
}

TEST_F(Discovery, TakesTheFunctionOfTheActiveConfiguration) {
    camera.Describe([](usb::DeviceEntry& entry) {
        entry.configurations = {Configuration(1, Function(0, "01", "81", "82")),
                                Configuration(2, Function(4, "01", "85", "83"))};
        entry.activeConfiguration = 2;
    });
    const auto found = All();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_STREQ(found[0].DevicePath, "scripted:1#4");
    EXPECT_EQ(device->Open(found[0]), VX_OK);
    EXPECT_TRUE(camera.SelectedConfigurations().empty()) << "that would be a light reset";
}

TEST_F(Discovery, FindsAFunctionThatIsNotInTheActiveConfigurationAndSelectsItsOwn) {
    camera.Describe([](usb::DeviceEntry& entry) {
        entry.configurations = {Configuration(1, {}), Configuration(2, Function(4, "01", "85", "83"))};
        entry.activeConfiguration = 1;
    });
    const auto found = All();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(device->Open(found[0]), VX_OK);
    EXPECT_EQ(camera.SelectedConfigurations(), std::vector<int>{2});
}

TEST_F(Discovery, OpensWhereNoConfigurationCanBeSelectedButNotWhereItIsRefused) {
    camera.Describe([](usb::DeviceEntry& entry) {
        entry.configurations = {Configuration(1, {}), Configuration(2, Function(4, "01", "85", "83"))};
        entry.activeConfiguration = 1;
    });
    const auto found = All();
    ASSERT_EQ(found.size(), 1u);
    camera.RefuseConfiguration(usb::Result::Busy);
    EXPECT_EQ(device->Open(found[0]), VX_E_BUSY);
    EXPECT_TRUE(camera.Commands().empty());
    camera.RefuseConfiguration(usb::Result::NotSupported); // the bus knows no such request
    EXPECT_EQ(device->Open(found[0]), VX_OK);
}

TEST_F(Discovery, UsesEndpointsOfDifferentNumbers) {
    camera.Describe(
        [](usb::DeviceEntry& entry) { entry.configurations = {Configuration(1, Function(0, "01", "85", "83"))}; });
    ASSERT_EQ(Open(), VX_OK);
    CVxStream* stream = nullptr;
    ASSERT_EQ(device->GetStream(&stream), VX_OK);
    EXPECT_EQ(stream->Open(), VX_OK);
    CVxEventStream* events = nullptr;
    ASSERT_EQ(device->GetEventStream(&events), VX_OK);
    EXPECT_EQ(events->Open(), VX_E_NOT_SUPPORTED) << "registers for events, but no interface";
}

TEST_F(Discovery, WarnsOfEqualGuidsAndTellsCamerasApartByTheirPlaces) {
    Camera twin;
    InjectBackends({std::make_shared<ScriptedBackend>(camera), std::make_shared<ScriptedBackend>(twin, "second")});
    Exit();
    ASSERT_EQ(Init(), VX_OK);
    auto found = All();
    ASSERT_EQ(found.size(), 2u);
    EXPECT_STREQ(found[0].DeviceGUID, found[1].DeviceGUID);
    EXPECT_STREQ(found[1].DevicePath, "second:1#0");
    EXPECT_TRUE(log.HasLineWith(kWarning, "state the same GUID 123400000001"));
    ASSERT_EQ(device->Open(found[1]), VX_OK);
    EXPECT_EQ(twin.OpenHandles(), 1);
    EXPECT_EQ(camera.OpenHandles(), 0);
    ASSERT_EQ(device->Close(), VX_OK);
    InjectBackends({std::make_shared<ScriptedBackend>(camera)});
    Exit();
    ASSERT_EQ(Init(), VX_OK);
}

TEST_F(Discovery, ListsABusyCamera) {
    CVxDevice* other = CVxDevice::CreateDevice(DeviceType_Libusb);
    ASSERT_EQ(other->Open(Found()), VX_OK);
    const auto found = All();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_STREQ(found[0].ModelName, "Model");
    EXPECT_EQ(device->Open(found[0]), VX_E_BUSY);
    CVxDevice::DestroyDevice(other);
}

TEST_F(Discovery, CutsTextsThatAreTooLong) {
    camera.SetString(6, std::string(300, 'x'));
    EXPECT_EQ(std::string(Found().ModelName), std::string(255, 'x'));
}

TEST_F(Discovery, WarnsOfALinkThatIsSlowerThanTheCamera) {
    camera.Describe([](usb::DeviceEntry& entry) { entry.speed = usb::Speed::High; });
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_TRUE(log.HasLineWith(kWarning, "is a SuperSpeed camera on a slower link"));
}

struct SpeedCase {
    usb::Speed speed;
    std::uint8_t supported;
    const char* part; ///< of the warning; null: none
};

void PrintTo(const SpeedCase& row, std::ostream* to) {
    *to << static_cast<int>(row.speed) << " of " << static_cast<int>(row.supported);
}

class LinkSpeed : public testing::TestWithParam<SpeedCase> {};

TEST_P(LinkSpeed, IsHeldAgainstWhatTheCameraSupports) {
    const std::string warning = SpeedWarning(GetParam().speed, GetParam().supported);
    if (GetParam().part == nullptr) {
        EXPECT_EQ(warning, "");
    } else {
        EXPECT_NE(warning.find(GetParam().part), std::string::npos) << warning;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LinkSpeed,
    testing::Values(SpeedCase{usb::Speed::Super, 0x0C, nullptr}, SpeedCase{usb::Speed::High, 0x0C, "slower link"},
                    SpeedCase{usb::Speed::High, 0x04, nullptr}, SpeedCase{usb::Speed::Super, 0x1C, "10 Gbit/s"},
                    SpeedCase{usb::Speed::SuperPlus, 0x1C, nullptr}, SpeedCase{usb::Speed::SuperPlus, 0x4C, nullptr},
                    SpeedCase{usb::Speed::Full, 0x04, "does not state"}, SpeedCase{usb::Speed::Unknown, 0x0C, nullptr},
                    SpeedCase{usb::Speed::High, 0x00, nullptr}, SpeedCase{usb::Speed::High, 0x08, "slower link"},
                    SpeedCase{usb::Speed::Super, 0x10, "10 Gbit/s"}));

} // namespace
