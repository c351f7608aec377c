#include "TavixTL_USB/TavixUSB/discovery/TavixUsbTL.h"

#include "tavixusb/support/Together.h"
#include "tavixusb/support/TransportLayerTest.h"

#include "tavixbase/support/Scoped.h"

#include "tavix/usb/VandrelUsbDeviceInfo.h"

#include <GenApi/INodeMap.h>

#include <limits>
#include <typeinfo>

using Tavix::CDeviceInfo;
using Tavix::DeviceInfoList;

namespace {

class TavixUsbTL : public TransportLayerTest {
protected:
    /// As MakeTl, with the environment variable that is read then.
    void MakeTlFor(const char* enabledTl) {
        const Tavix::ScopedVariable useTl("TAVIX_USE_TL", enabledTl);
        DestroyTl();
        MakeTl();
    }
    static CDeviceInfo Pattern(const char* name, const char* value) {
        CDeviceInfo pattern;
        pattern.SetPropertyValue(name, value);
        return pattern;
    }

    DeviceInfoList list;
};

TEST_F(TavixUsbTL, ListsCamerasInTheOrderOfTheBus) {
    bus.cameras = {MakeCameraRecord("b"), MakeCameraRecord("a")};
    EXPECT_EQ(2, tl->EnumerateDevices(list));
    EXPECT_EQ("b", list[0].GetFullName());
    EXPECT_EQ("a", list[1].GetFullName());
    EXPECT_FALSE(list[0].IsUserProvided());
}

TEST_F(TavixUsbTL, SaysWhichCamerasItAdds) {
    bus.cameras = {MakeCameraRecord("b")};
    tl->EnumerateDevices(list);
    EXPECT_THAT(log.From("Tavix.USB.TL"),
                testing::ElementsAre(LogLine{"Tavix.USB.TL", 16, "Adding discovered device 'b'"}));
}

TEST_F(TavixUsbTL, AppendsToAListThatHoldsEntries) {
    list.push_back(CDeviceInfo());
    EXPECT_EQ(2, tl->EnumerateDevices(list, /*addToList=*/true));
    bus.cameras.clear();
    EXPECT_EQ(2, tl->EnumerateDevices(list, /*addToList=*/true));
}

TEST_F(TavixUsbTL, FailsWhenDiscoveryFailsAndKeepsWhatCameBefore) {
    bus.FailNext("Discover", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsbTL.cpp", "Failed to discover USB devices: text E2000777",
                   tl->EnumerateDevices(list));
    EXPECT_EQ(1u, list.size());
}

TEST_F(TavixUsbTL, MakesDeviceInfosOfItsClass) {
    const CDeviceInfo info = tl->CreateDeviceInfo();
    EXPECT_EQ("VandrelUsb", info.GetDeviceClass());
    Tavix::gcstring_vector names;
    info.GetPropertyNames(names);
    EXPECT_EQ(1u, names.size());
}

TEST_F(TavixUsbTL, ListsNoInterfaces) {
    Tavix::InterfaceInfoList interfaces;
    EXPECT_EQ(0, tl->EnumerateInterfaces(interfaces));
}

TEST_F(TavixUsbTL, AsksForTheAccessLibraryBeforeItDiscovers) {
    bus.FailNext("IsLibraryLoadable", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsb.cpp", "Failed to initialize vexlo: text E2000777",
                   tl->EnumerateDevices(list));
    EXPECT_THAT(bus.Calls(), testing::ElementsAre("IsLibraryLoadable"));
}

TEST_F(TavixUsbTL, FindsNoCameraOnAnEmptyBus) {
    bus.cameras.clear();
    EXPECT_EQ(0, tl->EnumerateDevices(list));
    EXPECT_TRUE(list.empty());
}

TEST_F(TavixUsbTL, CountsNoMoreThanAnIntHolds) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
    EXPECT_EQ(std::numeric_limits<int>::max(), Tavix::CTavixUsbTL::CountOf(kMost));
    EXPECT_THROW(Tavix::CTavixUsbTL::CountOf(kMost + 1), std::bad_cast);
}

TEST_F(TavixUsbTL, FindsACameraByPartOfItsProperties) {
    bus.cameras = {MakeCameraRecord("a", "1"), MakeCameraRecord("b", "2")};
    DeviceInfoList filter;
    filter.push_back(Pattern("SerialNumber", "2"));
    EXPECT_EQ(1, tl->EnumerateDevices(list, filter));
    EXPECT_EQ("b", list[0].GetFullName());
}

TEST_F(TavixUsbTL, FindsNoCameraByAPropertyThatItDoesNotHave) {
    DeviceInfoList filter;
    filter.push_back(Pattern("DriverKeyName", "x"));
    EXPECT_EQ(0, tl->EnumerateDevices(list, filter));
}

TEST_F(TavixUsbTL, AsksNoBusForAnotherDeviceClass) {
    DeviceInfoList filter;
    filter.push_back(Pattern("DeviceClass", "Other"));
    EXPECT_EQ(0, tl->EnumerateDevices(list, filter));
    EXPECT_EQ(0, bus.Count("Discover"));
}

TEST_F(TavixUsbTL, IsSwitchedOffWhenTheEnvironmentNamesAnother) {
    for (const char* other : {"Other", "vandrelusb", "VandrelUsb "}) {
        MakeTlFor(other);
        EXPECT_FALSE(tl->IsTLEnabled());
        EXPECT_EQ(0, tl->EnumerateDevices(list));
        EXPECT_EQ(nullptr, tl->CreateDevice(kCameraPath));
        EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl",
                       "Device not accessible. Transport layer is restricted by the environment",
                       tl->CreateDevice(CDeviceInfo()));
        EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl",
                       "Device creation failed. Transport layer is restricted by the environment",
                       tl->CreateDevice(MakeCameraInfo()));
    }
    EXPECT_EQ(0, bus.Count("Discover"));
}

TEST_F(TavixUsbTL, StaysOnWhenTheEnvironmentNamesItOrNothing) {
    for (const char* same : {"VandrelUsb", ""}) {
        MakeTlFor(same);
        EXPECT_EQ(1, tl->EnumerateDevices(list)) << same;
    }
}

TEST_F(TavixUsbTL, TakesTheFirstOfTwoCamerasOnlyWhenAskedTo) {
    constexpr char kText[] =
        "Too many devices (1) match the provided device info properties, don't know which device to use.";
    bus.cameras = {MakeCameraRecord("b", "2"), MakeCameraRecord("a", "1")};
    bus.xmlText = CameraXml();
    EXPECT_FAILURE(RuntimeException, "TransportLayerPrivateImpl.inl", kText,
                   tl->CreateDevice(Pattern("ModelName", "CamModel")));
    EXPECT_EQ(1, log.Count({"tavix.base.TL", 256, kText}));
    Tavix::ITavixDevice* const device = tl->CreateFirstDevice(Pattern("ModelName", "CamModel"));
    EXPECT_EQ("b", device->GetDeviceInfo().GetFullName());
    tl->DestroyAllDevices();
}

TEST_F(TavixUsbTL, AsksForPowerWhenAPatternSaysSo) {
    bus.xmlText = CameraXml();
    CDeviceInfo pattern = Pattern("_sap", "500");
    pattern.SetPropertyValue("_BornFree", "1");
    const CDeviceInfo info = tl->CreateDevice(pattern)->GetDeviceInfo();
    EXPECT_EQ(6, bus.Count("Device.SetProperty"));
    EXPECT_TRUE(info.GetPropertyAvailable("_BornFree"));
    tl->DestroyAllDevices();
}

TEST_F(TavixUsbTL, DestroysADeviceOnce) {
    constexpr char kText[] = "Trying to destroy device which hasn't been created by me";
    bus.xmlText = CameraXml();
    Tavix::ITavixDevice* const device = tl->CreateDevice(MakeCameraInfo());
    tl->DestroyDevice(device);
    EXPECT_EQ(0, bus.liveDevices);
    EXPECT_FAILURE(LogicalErrorException, "TransportLayerPrivateImpl.inl", kText, tl->DestroyDevice(device));
    EXPECT_FAILURE(LogicalErrorException, "TransportLayerPrivateImpl.inl", kText, tl->DestroyDevice(nullptr));
}

TEST_F(TavixUsbTL, MakesADeviceWithTheDescriptionOfItsCamera) {
    bus.xmlText = CameraXml();
    bus.xmlName = "camera.xml";
    Tavix::ITavixDevice* device = tl->CreateDevice(CDeviceInfo());
    ASSERT_NE(nullptr, device);
    EXPECT_NE(nullptr, device->GetNodeMap()->GetNode("Width"));
    EXPECT_EQ("Device:camera.xml", device->GetDeviceInfo().GetXMLSource());
    EXPECT_EQ(2, bus.Count("CreateDevice")); // one for the download, one for work
    tl->DestroyAllDevices();
}

TEST_F(TavixUsbTL, NamesTheDeviceAsSourceOfADescriptionWithoutName) {
    bus.xmlText = CameraXml();
    bus.hasXmlName = false;
    EXPECT_EQ("Device", tl->CreateDevice(CDeviceInfo())->GetDeviceInfo().GetXMLSource());
    tl->DestroyAllDevices();
}

TEST_F(TavixUsbTL, ServesSeveralThreads) {
    bus.xmlText = CameraXml();
    const CDeviceInfo camera = MakeCameraInfo();
    Together({[&] { tl->DestroyDevice(tl->CreateDevice(camera)); },
              [&] { tl->DestroyDevice(tl->CreateDevice(CDeviceInfo())); },
              [&] {
                  DeviceInfoList found;
                  tl->EnumerateDevices(found);
                  tl->IsDeviceAccessible(camera);
              }},
             20);
    EXPECT_EQ(0, bus.liveDevices);
    EXPECT_EQ(0u, tl->Release()); // the one of its maker
}

} // namespace
