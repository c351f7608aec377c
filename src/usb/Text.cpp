// Texts of results and transfer statuses.
#include "usb/Backend.h"

namespace usb {

const char* ToText(Result result) {
    switch (result) {
    case Result::Ok:
        return "no error";
    case Result::Io:
        return "input/output error";
    case Result::InvalidParam:
        return "invalid parameter";
    case Result::Access:
        return "access denied (insufficient permissions)";
    case Result::NoDevice:
        return "no such device (it may have been disconnected)";
    case Result::NotFound:
        return "not found";
    case Result::Busy:
        return "resource busy";
    case Result::Timeout:
        return "timed out";
    case Result::Overflow:
        return "the device sent more than was asked for";
    case Result::Pipe:
        return "endpoint halted or request not supported";
    case Result::Interrupted:
        return "interrupted";
    case Result::NoMemory:
        return "out of memory (see usbfs_memory_mb)";
    case Result::NotSupported:
        return "not supported on this system";
    case Result::TooManyFiles:
        return "too many open files";
    case Result::Other:
        break;
    }
    return "other error";
}

const char* ToText(TransferStatus status) {
    switch (status) {
    case TransferStatus::Completed:
        return "completed";
    case TransferStatus::Error:
        return "failed on the bus";
    case TransferStatus::TimedOut:
        return "timed out";
    case TransferStatus::Cancelled:
        return "cancelled";
    case TransferStatus::Stall:
        return "endpoint halted";
    case TransferStatus::NoDevice:
        return "device gone";
    case TransferStatus::Overflow:
        return "the device sent more than was asked for";
    }
    return "unknown transfer status";
}

} // namespace usb
