#pragma once
// The real bus, reached through libusb-1.0.

#include "usb/Backend.h"

#include <memory>
#include <string>

namespace usb {

/// Null with a text in `reason` when libusb cannot be initialised; throws Tavix::NoThread. DeviceEntry::id is bus and
/// port path ("2-1.4").
[[nodiscard]] std::unique_ptr<Backend> CreateLibusbBackend(std::string& reason);

} // namespace usb
