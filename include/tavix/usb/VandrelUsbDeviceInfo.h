#pragma once
// Typed access to the USB properties of a device info. Exported by the USB transport layer.

#include "tavix/Info.h"
#include "tavix/usb/Export.h"

namespace Tavix {

/// A device info with accessors for what only USB cameras have. A getter gives CInfoBase::PropertyNotAvailable for a
/// property that is not set; a setter returns the record for chaining. Re-entrant.
class TAVIX_USB_API CVandrelUsbDeviceInfo : public CDeviceInfo {
public:
    /// Only the device class is set.
    CVandrelUsbDeviceInfo();
    /// A copy of all properties of `info`. Converts, so that the entries of a list can be looked at as USB cameras.
    CVandrelUsbDeviceInfo(const CDeviceInfo& info);
    ~CVandrelUsbDeviceInfo() override;
    CVandrelUsbDeviceInfo(const CVandrelUsbDeviceInfo&);
    CVandrelUsbDeviceInfo& operator=(const CVandrelUsbDeviceInfo&);

    gcstring GetDeviceGUID() const;
    CVandrelUsbDeviceInfo& SetDeviceGUID(const gcstring& value);
    bool IsDeviceGUIDAvailable() const;

    gcstring GetManufacturerInfo() const;
    CVandrelUsbDeviceInfo& SetManufacturerInfo(const gcstring& value);
    bool IsManufacturerInfoAvailable() const;

    /// Hexadecimal with prefix, "0x0" for the first one.
    gcstring GetDeviceIdx() const;
    CVandrelUsbDeviceInfo& SetDeviceIdx(const gcstring& value);
    bool IsDeviceIdxAvailable() const;

    /// Hexadecimal with prefix.
    gcstring GetVendorId() const;
    CVandrelUsbDeviceInfo& SetVendorId(const gcstring& value);
    bool IsVendorIdAvailable() const;

    /// Hexadecimal with prefix.
    gcstring GetProductId() const;
    CVandrelUsbDeviceInfo& SetProductId(const gcstring& value);
    bool IsProductIdAvailable() const;

    /// Never filled by discovery.
    gcstring GetDriverKeyName() const;
    CVandrelUsbDeviceInfo& SetDriverKeyName(const gcstring& value);
    bool IsDriverKeyNameAvailable() const;

    /// The property behind it is called "UsbDriverTypeName".
    gcstring GetUsbDriverType() const;
    CVandrelUsbDeviceInfo& SetUsbDriverType(const gcstring& value);
    bool IsUsbDriverTypeAvailable() const;
};

} // namespace Tavix
