#pragma once
// How long a device has had its node under /dev.

#include <string>

namespace usb {

/// Whether the system has made or changed the node of an attached device within the last two seconds, or has not made
/// it yet. `id` is DeviceEntry::id. False when the device is not attached. Thread-safe.
bool IsNodeNew(const std::string& id);

} // namespace usb
