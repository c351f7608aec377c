#pragma once
// From libusb's codes to those of the border.

#include "usb/Backend.h"

namespace usb {

/// `code` is what a libusb function returned; everything from 0 up is Ok.
Result FromLibusb(int code);
/// The answer of libusb_submit_transfer. Old versions report a shortage of usbfs memory as a plain I/O error, which
/// only `systemError`, errno as the call left it, tells apart.
Result FromLibusbSubmit(int code, int systemError);
/// `status` is a libusb_transfer_status.
TransferStatus FromLibusbStatus(int status);
/// `speed` is a libusb_speed.
Speed FromLibusbSpeed(int speed);

} // namespace usb
