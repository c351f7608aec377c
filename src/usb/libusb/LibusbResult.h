#pragma once
// From libusb's codes to those of the border.

#include "usb/Backend.h"

#include <cerrno>

namespace usb {

/// `code` is what a libusb function returned; everything from 0 up is Ok.
Result FromLibusb(int code);
/// The same for a call that asks the system for something. libusb reports most of the system's refusals as a plain I/O
/// error or as "other"; only `systemError`, errno as the call left it, tells them apart.
Result FromLibusb(int code, int systemError);
/// Makes such a call.
template<class Call>
Result AskLibusb(Call call) {
    errno = 0;
    const int code = call();
    return FromLibusb(code, errno);
}
/// `status` is a libusb_transfer_status.
TransferStatus FromLibusbStatus(int status);
/// `speed` is a libusb_speed.
Speed FromLibusbSpeed(int speed);

} // namespace usb
