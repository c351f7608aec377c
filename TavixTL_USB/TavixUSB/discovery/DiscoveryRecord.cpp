#include "discovery/DiscoveryRecord.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Tavix {

namespace {

using Field = char[vexlo::DeviceDiscoveryInfo::kTextSize];

/// A property that is not set leaves the field empty; a longer text than fits is cut.
void CopyProperty(const CDeviceInfo& info, const char* name, Field& field) {
    gcstring text;
    if (!info.GetPropertyValue(name, text)) return;
    const std::size_t length = std::min(text.size(), sizeof field - 1);
    std::memcpy(field, text.c_str(), length);
    field[length] = 0;
}

gcstring PropertyText(const CDeviceInfo& info, const char* name) {
    gcstring text;
    return info.GetPropertyValue(name, text) ? text : gcstring();
}

/// What is not a number leaves the value as it is.
void ScanProperty(const CDeviceInfo& info, const char* name, std::uint8_t& value) {
    std::sscanf(PropertyText(info, name).c_str(), "%hhx", &value);
}

void ScanProperty(const CDeviceInfo& info, const char* name, std::uint16_t& value) {
    std::sscanf(PropertyText(info, name).c_str(), "%hx", &value);
}

void CopyTexts(const CDeviceInfo& info, vexlo::DeviceDiscoveryInfo& record) {
    CopyProperty(info, "SerialNumber", record.FallbackSerialNumber);
    CopyProperty(info, "ModelName", record.FallbackModelName);
    CopyProperty(info, "VendorName", record.FallbackVendorName);
    CopyProperty(info, "SerialNumber", record.SerialNumber);
    CopyProperty(info, "ManufacturerInfo", record.ManufacturerInfo);
    CopyProperty(info, "UserDefinedName", record.UserDefinedName);
    CopyProperty(info, "DeviceGUID", record.DeviceGUID);
    CopyProperty(info, "VendorName", record.VendorName);
    CopyProperty(info, "ModelName", record.ModelName);
    CopyProperty(info, "FullName", record.DevicePath);
}

} // namespace

vexlo::DeviceDiscoveryInfo MakeProbeRecord(const CDeviceInfo& info) {
    vexlo::DeviceDiscoveryInfo record = {};
    ScanProperty(info, "DeviceIdx", record.DeviceIndex);
    ScanProperty(info, "VendorId", record.VendorId);
    ScanProperty(info, "ProductId", record.ProductId);
    // The low byte of the product id stands in for "SpeedSupportBitmask": the open of a probe ignores the speeds, and
    // what applications have come to see in the record stays as it is.
    ScanProperty(info, "ProductId", record.SpeedSupportBitmask);
    record.UsbPortVersionBcd =
        static_cast<std::uint16_t>(std::strtoul(PropertyText(info, "UsbPortVersionBcd").c_str(), nullptr, 16));
    CopyTexts(info, record);
    record.UsbDriverType = vexlo::UsbDriverType_Libusb;
    return record;
}

vexlo::DeviceDiscoveryInfo MakeOpenRecord(const CDeviceInfo& info) {
    vexlo::DeviceDiscoveryInfo record = MakeProbeRecord(info);
    record.UsbPortVersionBcd = 0x0300;
    record.SpeedSupportBitmask = 0xFF;
    return record;
}

} // namespace Tavix
