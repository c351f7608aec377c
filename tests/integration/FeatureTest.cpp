// Features of the virtual camera through the whole stack.

#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace integration;

constexpr const char* kTwo = R"([{"serial": "1", "guid": "120900000001"}, {"serial": "2", "guid": "120900000002"}])";

TEST(FoundCameras, DescribesEveryCamera) {
    VirtualBus bus(R"([{"model": "VC-Test", "serial": "4711", "userName": "left", "guid": "120900004711"}])");
    const auto cameras = bus.Cameras();
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0].GetModelName(), "VC-Test");
    EXPECT_EQ(cameras[0].GetSerialNumber(), "4711");
    EXPECT_EQ(cameras[0].GetUserDefinedName(), "left");
    EXPECT_EQ(cameras[0].GetFriendlyName(), "left (4711)");
    EXPECT_EQ(cameras[0].GetVendorName(), "Vandrel");
    EXPECT_EQ(cameras[0].GetDeviceClass(), "VandrelUsb");
    GenICam::gcstring guid;
    ASSERT_TRUE(cameras[0].GetPropertyValue("DeviceGUID", guid));
    EXPECT_EQ(guid, "120900004711");
}

TEST(FoundCameras, ListsNoVirtualCameraUnlessAskedFor) {
    VirtualBus bus("[]");
    for (const auto& camera : bus.Cameras())
        EXPECT_NE(camera.GetVendorName(), "Vandrel");
}

TEST(FoundCameras, ReadsTheSettingsOfVirtualCamerasOnce) {
    VirtualBus bus(kTwo);
    setenv("TAVIX_VIRTUAL_CAMERAS", "/no/such/settings.json", /*overwrite=*/1);
    EXPECT_EQ(bus.Cameras().size(), 2u);
}

TEST(Creation, ByFullNameGivesThatCamera) {
    VirtualBus bus(kTwo);
    const auto cameras = bus.Cameras();
    ASSERT_EQ(cameras.size(), 2u);
    Tavix::ITavixDevice* device = bus.Layer().CreateDevice(cameras[1].GetFullName());
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->GetDeviceInfo().GetSerialNumber(), cameras[1].GetSerialNumber());
    bus.Layer().DestroyDevice(device);
    EXPECT_EQ(bus.Layer().CreateDevice(GenICam::gcstring("no such name")), nullptr);
}

TEST(Creation, ByPartOfADescriptionMustFitOneCamera) {
    VirtualBus bus(kTwo);
    Tavix::CDeviceInfo pattern;
    pattern.SetVendorName("Vandrel");
    EXPECT_EQ(ErrorOf([&] { bus.Layer().CreateDevice(pattern); }),
              "Too many devices (1) match the provided device info properties, don't know which device to use.");
    Tavix::ITavixDevice* first = bus.Layer().CreateFirstDevice(pattern);
    EXPECT_EQ(first->GetDeviceInfo().GetSerialNumber(), bus.Cameras()[0].GetSerialNumber());
    bus.Layer().DestroyDevice(first);
}

TEST(Creation, NamesTheDescriptionsFileInTheCamera) {
    VirtualBus bus(R"([{}])");
    const GenICam::gcstring source = bus.Create()->GetDeviceInfo().GetXMLSource();
    EXPECT_EQ(std::string(source.c_str()).rfind("Device", 0), 0u) << source.c_str();
}

TEST(Features, KeepWhatIsWritten) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Open();
    GenApi::INodeMap* map = camera->GetNodeMap();
    Set(map, "Width", "800");
    EXPECT_EQ(Integer(map, "Width"), 800);
    Set(map, "PixelFormat", "RGB8");
    EXPECT_EQ(GenApi::CEnumerationPtr(map->GetNode("PixelFormat"))->ToString(), "RGB8");
    const std::int64_t rgb = Integer(map, "PayloadSize");
    Set(map, "PixelFormat", "Mono8");
    EXPECT_EQ(Integer(map, "PayloadSize") * 3, rgb);
}

TEST(Features, RefuseValuesOutsideTheirLimits) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Open();
    GenApi::CIntegerPtr width(camera->GetNodeMap()->GetNode("Width"));
    EXPECT_THROW(width->SetValue(width->GetMax() + width->GetInc()), GenICam::OutOfRangeException);
    EXPECT_THROW(Set(camera->GetNodeMap(), "PixelFormat", "NoSuchFormat"), GenICam::InvalidArgumentException);
}

TEST(Features, ShareLimitsBetweenWidthAndOffset) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Open();
    GenApi::CIntegerPtr width(camera->GetNodeMap()->GetNode("Width")), offset(camera->GetNodeMap()->GetNode("OffsetX"));
    const std::int64_t sensor = Integer(camera->GetNodeMap(), "SensorWidth");
    width->SetValue(width->GetMin());
    EXPECT_EQ(offset->GetMax(), sensor - width->GetMin());
    offset->SetValue(offset->GetMax());
    EXPECT_EQ(width->GetMax(), width->GetMin());
}

TEST(Features, GainHasARawCastAlias) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Open();
    GenApi::CFloatPtr gain(camera->GetNodeMap()->GetNode("Gain"));
    ASSERT_TRUE(gain.IsValid());
    GenApi::CIntegerPtr raw(gain->GetNode()->GetCastAlias());
    ASSERT_TRUE(raw.IsValid());
    raw->SetValue(raw->GetMax());
    EXPECT_NEAR(gain->GetValue(), gain->GetMax(), 1e-6);
}

TEST(Features, OlderNamesAnswerInMigrationMode) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Open();
    EXPECT_EQ(camera->GetNodeMap()->GetNode("GainAbs"), nullptr);
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "1");
    EXPECT_NE(camera->GetNodeMap()->GetNode("GainAbs"), nullptr);
    Set(camera->GetNodeMap(), "PixelFormat", "RGB8Packed");
    EXPECT_EQ(GenApi::CValuePtr(camera->GetNodeMap()->GetNode("PixelFormat"))->ToString(), "RGB8Packed");
    Set(camera->GetTLNodeMap(), "MigrationModeEnable", "0");
    EXPECT_EQ(GenApi::CValuePtr(camera->GetNodeMap()->GetNode("PixelFormat"))->ToString(), "RGB8");
}

TEST(Features, OfAClosedCameraAreNotAccessible) {
    VirtualBus bus(R"([{}])");
    auto camera = bus.Create();
    EXPECT_FALSE(GenApi::IsAvailable(camera->GetNodeMap()->GetNode("Width")));
    EXPECT_EQ(ErrorOf([&] { Integer(camera->GetNodeMap(), "Width"); }), "Device not yet opened.");
}

TEST(Features, CountTransferStatistics) {
    VirtualBus bus(
        R"([{"faults": {"control": [{"fault": "Status", "value": 32771, "address": 388, "command": 2048}]}}])");
    auto camera = bus.Open();
    ErrorOf([&] { GenApi::CStringPtr(camera->GetNodeMap()->GetNode("DeviceUserID"))->GetValue(false, true); });
    EXPECT_EQ(Integer(camera->GetTLNodeMap(), "Statistic_Read_Operations_Failed_Count"), 1);
    EXPECT_NE(Integer(camera->GetTLNodeMap(), "Statistic_Last_Error_Status"), 0);
}

TEST(Accessibility, IsToldWithoutKeepingTheCameraOpen) {
    VirtualBus bus(R"([{}])");
    const auto info = bus.Cameras()[0];
    Tavix::EDeviceAccessiblityInfo answer = Tavix::Accessibility_Unknown;
    EXPECT_TRUE(bus.Layer().IsDeviceAccessible(info, Tavix::DefaultAccessMode(), &answer));
    EXPECT_EQ(answer, Tavix::Accessibility_Ok);
    auto camera = bus.Open();
    EXPECT_FALSE(bus.Layer().IsDeviceAccessible(info, Tavix::DefaultAccessMode(), &answer));
    EXPECT_EQ(static_cast<int>(answer), 3);
}

} // namespace
