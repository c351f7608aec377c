#pragma once
// The part of libudev that libusb uses, answered from the emulated bus.

#include <string>

namespace usbfs {

/// Tells all monitors; `action` is "add" or "remove".
void PostUdevEvent(const std::string& action, const std::string& name, const std::string& node);
/// Tells that the node of the device in this port has been made.
void AnnounceNode(const std::string& name);

} // namespace usbfs
