#include "TavixTL_USB/TavixUSB/TavixUsb.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

#include "tavix/usb/VandrelUsbDeviceInfo.h"

#include <GenApi/INodeMap.h>

using Tavix::CDeviceInfo;
using Tavix::DeviceInfoList;

namespace {

class TavixUsbTL : public testing::Test {
protected:
    TavixUsbTL() {
        bus.Reset();
        Tavix::CTlInfo info;
        info.SetDeviceClass("VandrelUsb");
        tl = Create(info);
    }
    ~TavixUsbTL() override { Destroy(tl); }

    FakeVexlo& bus = FakeVexlo::Get();
    Tavix::ITransportLayer* tl;
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
    LogLines log;
    tl->EnumerateDevices(list);
    EXPECT_THAT(log.From("Tavix.USB.TL"),
                testing::ElementsAre(LogLine{"Tavix.USB.TL", 16, "Adding discovered device 'b'"}));
}

TEST_F(TavixUsbTL, AppendsToAListThatHoldsEntries) {
    bus.cameras = {MakeCameraRecord()};
    list.push_back(CDeviceInfo());
    EXPECT_EQ(2, tl->EnumerateDevices(list, /*addToList=*/true));
    bus.cameras.clear();
    EXPECT_EQ(2, tl->EnumerateDevices(list, /*addToList=*/true));
}

TEST_F(TavixUsbTL, FailsWhenDiscoveryFailsAndKeepsWhatCameBefore) {
    bus.cameras = {MakeCameraRecord()};
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

TEST_F(TavixUsbTL, FindsACameraByPartOfItsProperties) {
    bus.cameras = {MakeCameraRecord("a", "1"), MakeCameraRecord("b", "2")};
    CDeviceInfo pattern;
    pattern.SetSerialNumber("2");
    DeviceInfoList filter;
    filter.push_back(pattern);
    EXPECT_EQ(1, tl->EnumerateDevices(list, filter));
    EXPECT_EQ("b", list[0].GetFullName());
}

TEST_F(TavixUsbTL, AsksNoBusForAnotherDeviceClass) {
    CDeviceInfo pattern;
    pattern.SetDeviceClass("Other");
    DeviceInfoList filter;
    filter.push_back(pattern);
    EXPECT_EQ(0, tl->EnumerateDevices(list, filter));
    EXPECT_EQ(0, bus.Count("Discover"));
}

TEST_F(TavixUsbTL, MakesADeviceWithTheDescriptionOfItsCamera) {
    bus.cameras = {MakeCameraRecord()};
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
    bus.cameras = {MakeCameraRecord()};
    bus.xmlText = CameraXml();
    bus.hasXmlName = false;
    EXPECT_EQ("Device", tl->CreateDevice(CDeviceInfo())->GetDeviceInfo().GetXMLSource());
    tl->DestroyAllDevices();
}

} // namespace
