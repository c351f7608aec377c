#include "tavix/usb/VandrelUsbDeviceInfo.h"

#include <ostream>

#include <gtest/gtest.h>

using Tavix::CInfoBase;
using Info = Tavix::CVandrelUsbDeviceInfo;
using Tavix::gcstring;

namespace {

struct Accessors {
    const char* property;
    gcstring (Info::*get)() const;
    Info& (Info::*set)(const gcstring&);
    bool (Info::*available)() const;
};

void PrintTo(const Accessors& row, std::ostream* to) {
    *to << row.property;
}

const Accessors kAccessors[] = {
    {"DeviceGUID", &Info::GetDeviceGUID, &Info::SetDeviceGUID, &Info::IsDeviceGUIDAvailable},
    {"ManufacturerInfo", &Info::GetManufacturerInfo, &Info::SetManufacturerInfo, &Info::IsManufacturerInfoAvailable},
    {"DeviceIdx", &Info::GetDeviceIdx, &Info::SetDeviceIdx, &Info::IsDeviceIdxAvailable},
    {"VendorId", &Info::GetVendorId, &Info::SetVendorId, &Info::IsVendorIdAvailable},
    {"ProductId", &Info::GetProductId, &Info::SetProductId, &Info::IsProductIdAvailable},
    {"DriverKeyName", &Info::GetDriverKeyName, &Info::SetDriverKeyName, &Info::IsDriverKeyNameAvailable},
    {"UsbDriverTypeName", &Info::GetUsbDriverType, &Info::SetUsbDriverType, &Info::IsUsbDriverTypeAvailable},
};

class VandrelUsbDeviceInfo : public testing::TestWithParam<Accessors> {};

TEST_P(VandrelUsbDeviceInfo, TellsThatAPropertyIsNotSet) {
    const Info info;
    EXPECT_FALSE((info.*GetParam().available)());
    EXPECT_EQ(CInfoBase::PropertyNotAvailable, (info.*GetParam().get)());
}

TEST_P(VandrelUsbDeviceInfo, SetsAndGetsThePropertyAndReturnsItself) {
    Info info;
    EXPECT_EQ(&info, &(info.*GetParam().set)("some value"));
    EXPECT_TRUE((info.*GetParam().available)());
    EXPECT_EQ("some value", (info.*GetParam().get)());
    gcstring value;
    EXPECT_TRUE(info.GetPropertyValue(GetParam().property, value));
    EXPECT_EQ("some value", value);
}

INSTANTIATE_TEST_SUITE_P(Accessors, VandrelUsbDeviceInfo, testing::ValuesIn(kAccessors),
                         [](const auto& row) { return std::string(row.param.property); });

TEST(VandrelUsbDeviceInfoRecord, HasOnlyTheDeviceClassAtFirst) {
    const Info info;
    Tavix::gcstring_vector names;
    info.GetPropertyNames(names);
    ASSERT_EQ(1u, names.size());
    EXPECT_EQ("DeviceClass", names[0]);
    EXPECT_EQ("VandrelUsb", info.GetDeviceClass());
}

TEST(VandrelUsbDeviceInfoRecord, CopiesAnyDeviceInfo) {
    Tavix::CDeviceInfo source;
    source.SetModelName("M");
    source.SetPropertyValue("DeviceGUID", "G");
    const Info info(source);
    EXPECT_EQ("M", info.GetModelName());
    EXPECT_EQ("G", info.GetDeviceGUID());
    EXPECT_FALSE(info.IsDeviceClassAvailable());
}

} // namespace
