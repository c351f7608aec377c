// The transport layer over an SDK base that fails. This program defines two functions of the base library itself, and
// they come before the library's own.

#include "TavixTL_USB/TavixUSB/TavixUsb.h"
#include "TavixTL_USB/TavixUSB/discovery/TavixUsbDeviceInfoImpl.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

#include "tavix/TransportLayerParams.h"

#include <stdexcept>
#include <string>

namespace {

std::string g_FailingProperty;
bool g_FailsToMakeParameters = false;
std::vector<std::string> g_SetProperties;

} // namespace

namespace Tavix {

CInfoBase& CInfoBase::SetPropertyValue(const gcstring& name, const gcstring& value) {
    if (g_FailingProperty == name.c_str()) throw RUNTIME_EXCEPTION("no room for %s", name.c_str());
    g_SetProperties.emplace_back(name.c_str());
    m_Properties[name] = value;
    return *this;
}

GenApi::INodeMap* CreateDefaultTransportLayerParams() {
    if (g_FailsToMakeParameters) throw std::runtime_error("no parameters");
    return nullptr;
}

} // namespace Tavix

namespace {

class FaultyBase : public testing::Test {
protected:
    FaultyBase() {
        FakeVexlo::Get().Reset();
        g_FailingProperty.clear();
        g_FailsToMakeParameters = false;
        g_SetProperties.clear();
    }

    LogLines log;
};

TEST_F(FaultyBase, GetsTheInfoRecordFilledInOrder) {
    const Tavix::CUsbTlInfo info;
    EXPECT_THAT(g_SetProperties, testing::ElementsAre("DeviceClass", "FullName", "VendorName", "FriendlyName"));
    EXPECT_THAT(log.All(), testing::IsEmpty());
}

TEST_F(FaultyBase, LeavesTheInfoRecordPartlyFilledAndSaysSo) {
    g_FailingProperty = "VendorName";
    const Tavix::CUsbTlInfo info;
    EXPECT_EQ("USB/VandrelUsb 04.00.00.0062", info.GetFullName());
    EXPECT_FALSE(info.IsVendorNameAvailable());
    EXPECT_FALSE(info.IsFriendlyNameAvailable());
    EXPECT_THAT(log.All(), testing::ElementsAre(
                               LogLine{"Tavix.USB.TL", 256, "CUsbTlInfo: Exception occurred: no room for VendorName"}));
}

TEST_F(FaultyBase, LeavesTheAccessLibraryUnusedWhenNoTransportLayerCanBeMade) {
    Tavix::CTlInfo wanted;
    wanted.SetDeviceClass("VandrelUsb");
    g_FailsToMakeParameters = true;
    EXPECT_THROW(Create(wanted), std::runtime_error);
    EXPECT_THAT(FakeVexlo::Get().Calls(), testing::ElementsAre("Init", "Exit"));
    g_FailsToMakeParameters = false;
    Tavix::ITransportLayer* const tl = Create(wanted);
    EXPECT_NE(nullptr, tl);
    Destroy(tl);
    EXPECT_THAT(FakeVexlo::Get().Calls(), testing::ElementsAre("Init", "Exit", "Init", "Exit"));
}

TEST_F(FaultyBase, GetsTheInfoOfADiscoveredCameraInOrder) {
    vexlo::DeviceDiscoveryInfo record = MakeCameraRecord();
    SetText(record.UserDefinedName, "mine");
    Tavix::TavixUsbDeviceInfoImpl(Tavix::CTlInfo(), record);
    EXPECT_THAT(g_SetProperties,
                testing::ElementsAre("DeviceClass", "VendorName", "ModelName", "SerialNumber", "UserDefinedName",
                                     "DeviceGUID", "ManufacturerInfo", "FullName", "DeviceIdx", "ProductId", "VendorId",
                                     "UsbDriverTypeName", "UsbPortVersionBcd", "SpeedSupportBitmask", "DeviceClass",
                                     "DeviceFactory", "FriendlyName"));
}

} // namespace
