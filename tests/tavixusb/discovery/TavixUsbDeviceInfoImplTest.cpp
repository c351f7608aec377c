#include "TavixTL_USB/TavixUSB/discovery/TavixUsbDeviceInfoImpl.h"

#include "tavixusb/support/Camera.h"

#include <ostream>

#include <gtest/gtest.h>

using Tavix::CDeviceInfo;

namespace {

Tavix::CVandrelUsbDeviceInfo InfoOf(const vexlo::DeviceDiscoveryInfo& record) {
    Tavix::CTlInfo tlInfo;
    tlInfo.SetDeviceClass("VandrelUsb").SetFullName("USB/VandrelUsb 04.00.00.0062");
    return Tavix::TavixUsbDeviceInfoImpl(tlInfo, record);
}

std::string Property(const CDeviceInfo& info, const char* name) {
    Tavix::gcstring value;
    EXPECT_TRUE(info.GetPropertyValue(name, value)) << name;
    return value.c_str();
}

TEST(UsbDeviceInfo, CarriesWhatTheRecordSays) {
    const auto info = InfoOf(MakeCameraRecord());
    EXPECT_EQ("Vandrel", info.GetVendorName());
    EXPECT_EQ("CamModel", info.GetModelName());
    EXPECT_EQ("123", info.GetSerialNumber());
    EXPECT_EQ("1AB2000000AF", info.GetDeviceGUID());
    EXPECT_EQ("made with care", info.GetManufacturerInfo());
    EXPECT_EQ(kCameraPath, info.GetFullName());
    EXPECT_EQ("0x1", info.GetDeviceIdx());
    EXPECT_EQ("0x12ab", info.GetProductId());
    EXPECT_EQ("0x1ab2", info.GetVendorId());
    EXPECT_EQ("0x300", Property(info, "UsbPortVersionBcd"));
    EXPECT_EQ("15", Property(info, "SpeedSupportBitmask"));
    EXPECT_EQ("VandrelUsb", info.GetDeviceClass());
    EXPECT_EQ("USB/VandrelUsb 04.00.00.0062", info.GetDeviceFactory());
    EXPECT_EQ("CamModel (123)", info.GetFriendlyName());
}

TEST(UsbDeviceInfo, CountsAsTheTransportLayers) {
    EXPECT_FALSE(InfoOf(MakeCameraRecord()).IsUserProvided());
}

TEST(UsbDeviceInfo, TakesFallbackTextsWhenThePreferredOnesAreEmpty) {
    auto record = MakeCameraRecord();
    record.VendorName[0] = record.ModelName[0] = record.SerialNumber[0] = 0;
    const auto info = InfoOf(record);
    EXPECT_EQ("fallback vendor", info.GetVendorName());
    EXPECT_EQ("fallback model", info.GetModelName());
    EXPECT_EQ("fallback serial", info.GetSerialNumber());
    EXPECT_EQ("fallback model (fallback serial)", info.GetFriendlyName());
}

TEST(UsbDeviceInfo, TakesNoFallbackForATextOfBlanks) {
    auto record = MakeCameraRecord();
    for (auto* field : {&record.VendorName, &record.ModelName, &record.SerialNumber})
        SetText(*field, " \t");
    const auto info = InfoOf(record);
    EXPECT_EQ(" \t", info.GetVendorName());
    EXPECT_EQ(" \t", info.GetModelName());
    EXPECT_EQ(" \t", info.GetSerialNumber());
}

TEST(UsbDeviceInfo, SetsNamesAndSerialNumberAlsoWhenTheyAreEmpty) {
    auto record = MakeCameraRecord();
    record.VendorName[0] = record.ModelName[0] = record.SerialNumber[0] = 0;
    record.FallbackVendorName[0] = record.FallbackModelName[0] = record.FallbackSerialNumber[0] = 0;
    const auto info = InfoOf(record);
    EXPECT_TRUE(info.IsVendorNameAvailable());
    EXPECT_TRUE(info.IsModelNameAvailable());
    EXPECT_TRUE(info.IsSerialNumberAvailable());
    EXPECT_EQ("", info.GetSerialNumber());
    EXPECT_EQ(" ()", info.GetFriendlyName());
}

TEST(UsbDeviceInfo, LeavesPropertiesOfEmptyFieldsUnavailable) {
    auto record = MakeCameraRecord();
    record.DeviceGUID[0] = record.ManufacturerInfo[0] = record.UserDefinedName[0] = 0;
    const auto info = InfoOf(record);
    EXPECT_FALSE(info.IsDeviceGUIDAvailable());
    EXPECT_FALSE(info.IsManufacturerInfoAvailable());
    EXPECT_FALSE(info.IsUserDefinedNameAvailable());
    EXPECT_FALSE(info.IsDriverKeyNameAvailable());
}

TEST(UsbDeviceInfo, IsFriendlyByTheUserDefinedNameAsItIsStored) {
    auto record = MakeCameraRecord();
    SetText(record.UserDefinedName, "  cam ");
    EXPECT_EQ("  cam  (123)", InfoOf(record).GetFriendlyName());
    EXPECT_EQ("  cam ", InfoOf(record).GetUserDefinedName());
}

TEST(UsbDeviceInfo, IgnoresABlankUserDefinedNameForTheFriendlyName) {
    auto record = MakeCameraRecord();
    SetText(record.UserDefinedName, " \t ");
    EXPECT_EQ("CamModel (123)", InfoOf(record).GetFriendlyName());
    EXPECT_EQ(" \t ", InfoOf(record).GetUserDefinedName());
}

TEST(UsbDeviceInfo, TakesOnlyBlanksAndTabsForBlank) {
    auto record = MakeCameraRecord();
    SetText(record.UserDefinedName, "\r\n");
    EXPECT_EQ("\r\n (123)", InfoOf(record).GetFriendlyName());
}

TEST(UsbDeviceInfo, WritesNumbersWithoutLeadingZeros) {
    auto record = MakeCameraRecord();
    record.DeviceIndex = 0;
    record.ProductId = 0x00A;
    record.SpeedSupportBitmask = 255;
    record.UsbPortVersionBcd = 0x0210;
    const auto info = InfoOf(record);
    EXPECT_EQ("0x0", info.GetDeviceIdx());
    EXPECT_EQ("0xa", info.GetProductId());
    EXPECT_EQ("255", Property(info, "SpeedSupportBitmask"));
    EXPECT_EQ("0x210", Property(info, "UsbPortVersionBcd"));
}

TEST(UsbDeviceInfo, ReadsNoFurtherThanAField) {
    auto record = MakeCameraRecord();
    std::fill(std::begin(record.SerialNumber), std::end(record.SerialNumber), 'x');
    EXPECT_EQ(std::string(256, 'x'), InfoOf(record).GetSerialNumber().c_str());
}

struct DriverType {
    std::int32_t type;
    const char* name;
};

void PrintTo(const DriverType& row, std::ostream* to) {
    *to << row.type;
}
class DriverTypes : public testing::TestWithParam<DriverType> {};
TEST_P(DriverTypes, HaveAName) {
    auto record = MakeCameraRecord();
    record.UsbDriverType = GetParam().type;
    EXPECT_EQ(GetParam().name, InfoOf(record).GetUsbDriverType());
    EXPECT_EQ(GetParam().name, Property(InfoOf(record), "UsbDriverTypeName"));
}
INSTANTIATE_TEST_SUITE_P(UsbDeviceInfo, DriverTypes,
                         testing::Values(DriverType{0, "WinUSB"}, DriverType{1, "VandrelUSB"}, DriverType{2, "Libusb"},
                                         DriverType{3, "N/A"}, DriverType{-1, "N/A"}));

} // namespace
