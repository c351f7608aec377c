// Status codes for what happens on the bus and in the camera.
#include "vexlo/UsbStatus.h"

#include "u3v/Constants.h"

namespace vexlo {

VxStatus ToStatus(usb::Result result) {
    switch (result) {
    case usb::Result::Ok:
        return VX_OK;
    case usb::Result::Io:
    case usb::Result::Interrupted:
        return VX_E_USB_IO;
    case usb::Result::InvalidParam:
        return VX_E_INVALID_PARAMETER;
    case usb::Result::Access:
        return VX_E_USB_ACCESS;
    case usb::Result::NoDevice:
        return VX_E_USB_NO_DEVICE;
    case usb::Result::NotFound:
        return VX_E_NOT_FOUND;
    case usb::Result::Busy:
        return VX_E_BUSY;
    case usb::Result::Timeout:
        return VX_E_TIMEOUT;
    case usb::Result::Overflow:
        return VX_E_USB_OVERFLOW;
    case usb::Result::Pipe:
        return VX_E_USB_STALL;
    case usb::Result::NoMemory:
        return VX_E_USB_NO_MEMORY;
    case usb::Result::NotSupported:
        return VX_E_USB_NOT_SUPPORTED;
    case usb::Result::TooManyFiles:
        return VX_E_TOO_MANY_FILES;
    case usb::Result::Other:
        break;
    }
    return VX_E_USB_OTHER;
}

VxStatus ToStatus(usb::TransferStatus status) {
    switch (status) {
    case usb::TransferStatus::Completed:
        return VX_OK;
    case usb::TransferStatus::Error:
        return VX_E_USB_IO;
    case usb::TransferStatus::TimedOut:
        return VX_E_TIMEOUT;
    case usb::TransferStatus::Cancelled:
        return VX_E_CANCELLED;
    case usb::TransferStatus::Stall:
        return VX_E_USB_STALL;
    case usb::TransferStatus::NoDevice:
        return VX_E_USB_NO_DEVICE;
    case usb::TransferStatus::Overflow:
        return VX_E_USB_OVERFLOW;
    }
    return VX_E_USB_OTHER;
}

VxStatus FromDeviceStatus(std::uint16_t code) {
    return u3v::status::IsError(code) ? VX_E_DEVICE_STATUS_BASE | code : VX_OK;
}

bool IsSilence(VxStatus status) {
    return status == VX_E_TIMEOUT || status == VX_E_USB_STALL || status == VX_E_USB_IO || status == VX_E_PROTOCOL ||
           status == VX_E_USB_OVERFLOW;
}

bool IsRefusal(VxStatus status) {
    return (status & ~VxStatus(0xFFFF)) == VX_E_DEVICE_STATUS_BASE;
}

} // namespace vexlo
