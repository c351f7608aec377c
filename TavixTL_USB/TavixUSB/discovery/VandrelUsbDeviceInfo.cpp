#include "tavix/usb/VandrelUsbDeviceInfo.h"

#include "TavixUsb.h"

namespace Tavix {

namespace {

constexpr char kDeviceGUID[] = "DeviceGUID";
constexpr char kManufacturerInfo[] = "ManufacturerInfo";
constexpr char kDeviceIdx[] = "DeviceIdx";
constexpr char kVendorId[] = "VendorId";
constexpr char kProductId[] = "ProductId";
constexpr char kDriverKeyName[] = "DriverKeyName";
constexpr char kUsbDriverTypeName[] = "UsbDriverTypeName";

gcstring Value(const CVandrelUsbDeviceInfo& info, const char* name) {
    gcstring value;
    if (!info.GetPropertyValue(name, value)) return CInfoBase::PropertyNotAvailable;
    return value;
}

} // namespace

CVandrelUsbDeviceInfo::CVandrelUsbDeviceInfo() {
    SetDeviceClass(kDeviceClass);
}

CVandrelUsbDeviceInfo::CVandrelUsbDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}

CVandrelUsbDeviceInfo::~CVandrelUsbDeviceInfo() = default;
CVandrelUsbDeviceInfo::CVandrelUsbDeviceInfo(const CVandrelUsbDeviceInfo&) = default;
CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::operator=(const CVandrelUsbDeviceInfo&) = default;

gcstring CVandrelUsbDeviceInfo::GetDeviceGUID() const {
    return Value(*this, kDeviceGUID);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetDeviceGUID(const gcstring& value) {
    SetPropertyValue(kDeviceGUID, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsDeviceGUIDAvailable() const {
    return GetPropertyAvailable(kDeviceGUID);
}

gcstring CVandrelUsbDeviceInfo::GetManufacturerInfo() const {
    return Value(*this, kManufacturerInfo);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetManufacturerInfo(const gcstring& value) {
    SetPropertyValue(kManufacturerInfo, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsManufacturerInfoAvailable() const {
    return GetPropertyAvailable(kManufacturerInfo);
}

gcstring CVandrelUsbDeviceInfo::GetDeviceIdx() const {
    return Value(*this, kDeviceIdx);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetDeviceIdx(const gcstring& value) {
    SetPropertyValue(kDeviceIdx, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsDeviceIdxAvailable() const {
    return GetPropertyAvailable(kDeviceIdx);
}

gcstring CVandrelUsbDeviceInfo::GetVendorId() const {
    return Value(*this, kVendorId);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetVendorId(const gcstring& value) {
    SetPropertyValue(kVendorId, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsVendorIdAvailable() const {
    return GetPropertyAvailable(kVendorId);
}

gcstring CVandrelUsbDeviceInfo::GetProductId() const {
    return Value(*this, kProductId);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetProductId(const gcstring& value) {
    SetPropertyValue(kProductId, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsProductIdAvailable() const {
    return GetPropertyAvailable(kProductId);
}

gcstring CVandrelUsbDeviceInfo::GetDriverKeyName() const {
    return Value(*this, kDriverKeyName);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetDriverKeyName(const gcstring& value) {
    SetPropertyValue(kDriverKeyName, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsDriverKeyNameAvailable() const {
    return GetPropertyAvailable(kDriverKeyName);
}

gcstring CVandrelUsbDeviceInfo::GetUsbDriverType() const {
    return Value(*this, kUsbDriverTypeName);
}

CVandrelUsbDeviceInfo& CVandrelUsbDeviceInfo::SetUsbDriverType(const gcstring& value) {
    SetPropertyValue(kUsbDriverTypeName, value);
    return *this;
}

bool CVandrelUsbDeviceInfo::IsUsbDriverTypeAvailable() const {
    return GetPropertyAvailable(kUsbDriverTypeName);
}

} // namespace Tavix
