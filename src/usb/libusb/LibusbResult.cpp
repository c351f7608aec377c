// From libusb's codes to those of the border.
#include "usb/libusb/LibusbResult.h"

#include <libusb.h>

#include <cerrno>

namespace usb {

[[gnu::hot]] Result FromLibusb(int code) {
    if (code >= 0) return Result::Ok;
    switch (code) {
    case LIBUSB_ERROR_IO:
        return Result::Io;
    case LIBUSB_ERROR_INVALID_PARAM:
        return Result::InvalidParam;
    case LIBUSB_ERROR_ACCESS:
        return Result::Access;
    case LIBUSB_ERROR_NO_DEVICE:
        return Result::NoDevice;
    case LIBUSB_ERROR_NOT_FOUND:
        return Result::NotFound;
    case LIBUSB_ERROR_BUSY:
        return Result::Busy;
    case LIBUSB_ERROR_TIMEOUT:
        return Result::Timeout;
    case LIBUSB_ERROR_OVERFLOW:
        return Result::Overflow;
    case LIBUSB_ERROR_PIPE:
        return Result::Pipe;
    case LIBUSB_ERROR_INTERRUPTED:
        return Result::Interrupted;
    case LIBUSB_ERROR_NO_MEM:
        return Result::NoMemory;
    case LIBUSB_ERROR_NOT_SUPPORTED:
        return Result::NotSupported;
    default:
        return Result::Other;
    }
}

[[gnu::hot]] Result FromLibusb(int code, int systemError) {
    if (code != LIBUSB_ERROR_IO && code != LIBUSB_ERROR_OTHER) return FromLibusb(code);
    switch (systemError) {
    case ENOMEM:
        return Result::NoMemory;
    case EACCES:
    case EPERM:
        return Result::Access;
    case EBUSY:
        return Result::Busy;
    case EPIPE:
        return Result::Pipe;
    case ETIMEDOUT:
        return Result::Timeout;
    case EIO:
    case EPROTO:
    case EILSEQ:
    case ETIME:
        return Result::Io;
    default:
        return FromLibusb(code);
    }
}

[[gnu::hot]] TransferStatus FromLibusbStatus(int status) {
    switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return TransferStatus::Completed;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return TransferStatus::TimedOut;
    case LIBUSB_TRANSFER_CANCELLED:
        return TransferStatus::Cancelled;
    case LIBUSB_TRANSFER_STALL:
        return TransferStatus::Stall;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return TransferStatus::NoDevice;
    case LIBUSB_TRANSFER_OVERFLOW:
        return TransferStatus::Overflow;
    default:
        return TransferStatus::Error;
    }
}

Speed FromLibusbSpeed(int speed) {
    switch (speed) {
    case LIBUSB_SPEED_LOW:
        return Speed::Low;
    case LIBUSB_SPEED_FULL:
        return Speed::Full;
    case LIBUSB_SPEED_HIGH:
        return Speed::High;
    case LIBUSB_SPEED_SUPER:
        return Speed::Super;
    case LIBUSB_SPEED_SUPER_PLUS:
        return Speed::SuperPlus;
    default:
        return Speed::Unknown;
    }
}

} // namespace usb
