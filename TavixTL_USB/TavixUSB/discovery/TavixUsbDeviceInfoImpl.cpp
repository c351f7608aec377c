#include "discovery/TavixUsbDeviceInfoImpl.h"

#include "core/Format.h"
#include "vexlo/DeviceDiscoveryInfo.h"

#include <cstring>

namespace Tavix {

namespace {

using Field = char[vexlo::DeviceDiscoveryInfo::kTextSize];

gcstring TextOf(const Field& field) {
    return gcstring(field, strnlen(field, sizeof field));
}

gcstring Either(const Field& preferred, const Field& fallback) {
    return preferred[0] ? TextOf(preferred) : TextOf(fallback);
}

const char* DriverTypeName(std::int32_t type) {
    switch (type) {
    case vexlo::UsbDriverType_WinUsb:
        return "WinUSB";
    case vexlo::UsbDriverType_Vandrel:
        return "VandrelUSB";
    case vexlo::UsbDriverType_Libusb:
        return "Libusb";
    default:
        return "N/A";
    }
}

bool IsBlank(const gcstring& text) {
    return text.find_first_not_of(" \t") == gcstring::npos;
}

gcstring Hexadecimal(unsigned int value) {
    return Format("0x%x", value);
}

} // namespace

TavixUsbDeviceInfoImpl::TavixUsbDeviceInfoImpl(const CTlInfo& tlInfo, const vexlo::DeviceDiscoveryInfo& record) {
    const gcstring model = Either(record.ModelName, record.FallbackModelName);
    const gcstring serial = Either(record.SerialNumber, record.FallbackSerialNumber);
    const gcstring userName = TextOf(record.UserDefinedName);

    SetVendorName(Either(record.VendorName, record.FallbackVendorName));
    SetModelName(model);
    SetSerialNumber(serial);
    if (record.UserDefinedName[0]) SetUserDefinedName(userName);
    if (record.DeviceGUID[0]) SetDeviceGUID(TextOf(record.DeviceGUID));
    if (record.ManufacturerInfo[0]) SetManufacturerInfo(TextOf(record.ManufacturerInfo));
    SetFullName(TextOf(record.DevicePath));
    SetDeviceIdx(Hexadecimal(record.DeviceIndex));
    SetProductId(Hexadecimal(record.ProductId));
    SetVendorId(Hexadecimal(record.VendorId));
    SetUsbDriverType(DriverTypeName(record.UsbDriverType));
    SetPropertyValue("UsbPortVersionBcd", Hexadecimal(record.UsbPortVersionBcd));
    SetPropertyValue("SpeedSupportBitmask", Format("%d", record.SpeedSupportBitmask));
    SetDeviceClass(tlInfo.GetDeviceClass());
    SetDeviceFactory(tlInfo.GetFullName());
    SetFriendlyName((IsBlank(userName) ? model : userName) + " (" + serial + ")");
    ClearUserProvided();
}

} // namespace Tavix
