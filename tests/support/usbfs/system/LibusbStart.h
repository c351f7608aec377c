#pragma once
// When devices may leave.

#include <mutex>

namespace usbfs {

/// Held while libusb starts, and while a device leaves. The outermost of all locks here.
std::recursive_mutex& LeavingLock();

} // namespace usbfs
