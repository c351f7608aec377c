#pragma once
// The record that discovery fills for one attached camera and that opens it again.

#include <cstddef>
#include <cstdint>

namespace vexlo {

/// Kind of USB driver a camera is reached through.
enum EUsbDriverType : std::int32_t { UsbDriverType_WinUsb = 0, UsbDriverType_Vandrel = 1, UsbDriverType_Libusb = 2 };

/// Text fields are NUL-terminated 8-bit strings; a field is empty when its first byte is 0. The "preferred" texts come
/// from the camera's USB3 Vision strings, the "fallback" ones from the plain USB string descriptors.
struct DeviceDiscoveryInfo {
    static constexpr std::size_t kTextSize = 256;

    std::uint8_t DeviceIndex;
    std::uint8_t Padding0;
    std::uint16_t VendorId;
    std::uint16_t ProductId;
    char FallbackSerialNumber[kTextSize];
    char FallbackModelName[kTextSize];
    char FallbackVendorName[kTextSize];
    char SerialNumber[kTextSize];
    char ManufacturerInfo[kTextSize];
    char UserDefinedName[kTextSize];
    char DeviceGUID[kTextSize];
    char VendorName[kTextSize];
    char ModelName[kTextSize];
    char DevicePath[kTextSize];
    std::uint8_t Padding1[2];
    std::int32_t UsbDriverType;
    std::uint16_t UsbPortVersionBcd;
    std::uint8_t SpeedSupportBitmask;
};

static_assert(sizeof(DeviceDiscoveryInfo) == 2576);
static_assert(offsetof(DeviceDiscoveryInfo, VendorId) == 2);
static_assert(offsetof(DeviceDiscoveryInfo, FallbackSerialNumber) == 6);
static_assert(offsetof(DeviceDiscoveryInfo, FallbackModelName) == 262);
static_assert(offsetof(DeviceDiscoveryInfo, FallbackVendorName) == 518);
static_assert(offsetof(DeviceDiscoveryInfo, SerialNumber) == 774);
static_assert(offsetof(DeviceDiscoveryInfo, ManufacturerInfo) == 1030);
static_assert(offsetof(DeviceDiscoveryInfo, UserDefinedName) == 1286);
static_assert(offsetof(DeviceDiscoveryInfo, DeviceGUID) == 1542);
static_assert(offsetof(DeviceDiscoveryInfo, VendorName) == 1798);
static_assert(offsetof(DeviceDiscoveryInfo, ModelName) == 2054);
static_assert(offsetof(DeviceDiscoveryInfo, DevicePath) == 2310);
static_assert(offsetof(DeviceDiscoveryInfo, UsbDriverType) == 2568);
static_assert(offsetof(DeviceDiscoveryInfo, UsbPortVersionBcd) == 2572);
static_assert(offsetof(DeviceDiscoveryInfo, SpeedSupportBitmask) == 2574);

} // namespace vexlo
