#pragma once
// What libusb knows of a device without opening it, turned into raw bytes and keys.

#include "usb/Backend.h"

#include <cstdint>
#include <string>
#include <vector>

struct libusb_config_descriptor;
struct libusb_device;

namespace usb {

/// Bus number and port path, "2-1.4"; "usb2" for the root hub of bus 2. This is also the device's name in sysfs, and it
/// stays the same when the device re-enumerates on its port.
std::string DeviceId(libusb_device* device);
/// The same into a text that is there already; needs no memory where it has room.
void WriteDeviceId(libusb_device* device, std::string& id);
/// Path of the bytes that the kernel keeps of all descriptors of a device.
std::string DescriptorsPath(const std::string& id);
/// Splits such a file: the device descriptor and the configurations behind it. A last configuration that is shorter
/// than its own total length is kept as it is. False when not even a device descriptor is there.
bool SplitDescriptors(const std::vector<std::uint8_t>& bytes, DeviceEntry& entry);
/// Writes a parsed configuration back into the bytes it came from, unknown descriptors in their places.
std::vector<std::uint8_t> ConfigurationBytes(const libusb_config_descriptor& configuration);
/// Text of a string descriptor; characters beyond 7 bits become '?'.
std::string AsciiOfStringDescriptor(const std::vector<std::uint8_t>& bytes);
/// Everything about one device. No I/O on the bus.
DeviceEntry Describe(libusb_device* device);

} // namespace usb
