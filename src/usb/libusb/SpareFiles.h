#pragma once
// Whether the process may still open files.

namespace usb {

/// False when the process or the system is out of the file descriptors that opening a device takes. libusb does not
/// tell this from other failures. Thread-safe.
bool HasSpareFiles();

} // namespace usb
