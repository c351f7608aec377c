// What libusb knows of a device without opening it.
#include "usb/libusb/LibusbDescriptors.h"

#include "usb/libusb/LibusbContext.h"
#include "usb/libusb/LibusbResult.h"
#include "usb/libusb/SmallFile.h"

#include <libusb.h>

#include <algorithm>
#include <array>

namespace usb {
namespace {

constexpr std::size_t kDeviceDescriptorSize = 18;
constexpr std::size_t kConfigurationHeaderSize = 9;
constexpr std::uint8_t kAudioEndpointSize = 9;

using Bytes = std::vector<std::uint8_t>;

void Append8(Bytes& bytes, unsigned int value) {
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void Append16(Bytes& bytes, unsigned int value) {
    Append8(bytes, value & 0xFFu);
    Append8(bytes, value >> 8 & 0xFFu);
}

void AppendExtra(Bytes& bytes, const unsigned char* extra, int length) {
    if (extra != nullptr && length > 0) bytes.insert(bytes.end(), extra, extra + length);
}

void AppendEndpoint(Bytes& bytes, const libusb_endpoint_descriptor& endpoint) {
    Append8(bytes, endpoint.bLength);
    Append8(bytes, endpoint.bDescriptorType);
    Append8(bytes, endpoint.bEndpointAddress);
    Append8(bytes, endpoint.bmAttributes);
    Append16(bytes, endpoint.wMaxPacketSize);
    Append8(bytes, endpoint.bInterval);
    if (endpoint.bLength >= kAudioEndpointSize) {
        Append8(bytes, endpoint.bRefresh);
        Append8(bytes, endpoint.bSynchAddress);
    }
    AppendExtra(bytes, endpoint.extra, endpoint.extra_length);
}

void AppendInterface(Bytes& bytes, const libusb_interface_descriptor& setting) {
    for (const unsigned int value : {setting.bLength, setting.bDescriptorType, setting.bInterfaceNumber,
                                     setting.bAlternateSetting, setting.bNumEndpoints, setting.bInterfaceClass,
                                     setting.bInterfaceSubClass, setting.bInterfaceProtocol, setting.iInterface})
        Append8(bytes, value);
    AppendExtra(bytes, setting.extra, setting.extra_length);
    for (int i = 0; i < setting.bNumEndpoints; ++i)
        AppendEndpoint(bytes, setting.endpoint[i]);
}

Bytes DeviceDescriptorBytes(const libusb_device_descriptor& device) {
    Bytes bytes;
    Append8(bytes, device.bLength);
    Append8(bytes, device.bDescriptorType);
    Append16(bytes, device.bcdUSB);
    for (const unsigned int value :
         {device.bDeviceClass, device.bDeviceSubClass, device.bDeviceProtocol, device.bMaxPacketSize0})
        Append8(bytes, value);
    for (const unsigned int value : {device.idVendor, device.idProduct, device.bcdDevice})
        Append16(bytes, value);
    for (const unsigned int value :
         {device.iManufacturer, device.iProduct, device.iSerialNumber, device.bNumConfigurations})
        Append8(bytes, value);
    return bytes;
}

/// Fills the descriptors from what libusb parsed. What it could not parse is left out.
void DescribeFromParsed(libusb_device* device, const libusb_device_descriptor& descriptor, DeviceEntry& entry) {
    entry.device = DeviceDescriptorBytes(descriptor);
    entry.configurations.clear();
    for (std::uint8_t i = 0; i < descriptor.bNumConfigurations; ++i) {
        libusb_config_descriptor* parsed = nullptr;
        if (libusb_get_config_descriptor(device, i, &parsed) != LIBUSB_SUCCESS) continue;
        const LibusbConfiguration configuration(parsed);
        entry.configurations.push_back(ConfigurationBytes(*configuration));
    }
}

int ActiveConfiguration(libusb_device* device) {
    libusb_config_descriptor* configuration = nullptr;
    if (libusb_get_active_config_descriptor(device, &configuration) != LIBUSB_SUCCESS) return 0;
    const int value = configuration->bConfigurationValue;
    libusb_free_config_descriptor(configuration);
    return value;
}

constexpr std::size_t kMostPorts = 16;

/// Path from the root hub. Needs no memory.
struct PortPath {
    explicit PortPath(libusb_device* device)
        : count(std::max(libusb_get_port_numbers(device, ports.data(), static_cast<int>(kMostPorts)), 0)) {}

    std::array<std::uint8_t, kMostPorts> ports{};
    const int count;
};

} // namespace

void WriteDeviceId(libusb_device* device, std::string& id) {
    const PortPath path(device);
    id = path.count == 0 ? "usb" : "";
    id += std::to_string(libusb_get_bus_number(device));
    for (int i = 0; i < path.count; ++i) {
        id += i == 0 ? '-' : '.';
        id += std::to_string(path.ports[static_cast<std::size_t>(i)]);
    }
}

std::string DeviceId(libusb_device* device) {
    std::string id;
    WriteDeviceId(device, id);
    return id;
}

std::string DescriptorsPath(const std::string& id) {
    return "/sys/bus/usb/devices/" + id + "/descriptors";
}

bool SplitDescriptors(const std::vector<std::uint8_t>& bytes, DeviceEntry& entry) {
    if (bytes.size() < kDeviceDescriptorSize) return false;
    entry.device.assign(bytes.begin(), bytes.begin() + kDeviceDescriptorSize);
    entry.configurations.clear();
    std::size_t at = kDeviceDescriptorSize;
    while (bytes.size() - at >= kConfigurationHeaderSize) {
        const std::size_t total = bytes[at + 2] | static_cast<std::size_t>(bytes[at + 3]) << 8;
        if (total < kConfigurationHeaderSize) break;
        const std::size_t length = std::min(total, bytes.size() - at);
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        entry.configurations.emplace_back(first, first + static_cast<std::ptrdiff_t>(length));
        at += length;
    }
    return true;
}

std::vector<std::uint8_t> ConfigurationBytes(const libusb_config_descriptor& configuration) {
    Bytes bytes;
    Append8(bytes, configuration.bLength);
    Append8(bytes, configuration.bDescriptorType);
    Append16(bytes, configuration.wTotalLength);
    for (const unsigned int value : {configuration.bNumInterfaces, configuration.bConfigurationValue,
                                     configuration.iConfiguration, configuration.bmAttributes, configuration.MaxPower})
        Append8(bytes, value);
    AppendExtra(bytes, configuration.extra, configuration.extra_length);
    for (int i = 0; i < configuration.bNumInterfaces; ++i) {
        const libusb_interface& interface = configuration.interface[i];
        for (int k = 0; k < interface.num_altsetting; ++k)
            AppendInterface(bytes, interface.altsetting[k]);
    }
    return bytes;
}

std::string AsciiOfStringDescriptor(const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kHeaderSize = 2;
    std::string text;
    for (std::size_t i = kHeaderSize; i + 1 < bytes.size(); i += 2)
        text += bytes[i + 1] == 0 && bytes[i] < 0x80 ? static_cast<char>(bytes[i]) : '?';
    return text;
}

DeviceEntry Describe(libusb_device* device) {
    DeviceEntry entry;
    entry.id = DeviceId(device);
    entry.bus = libusb_get_bus_number(device);
    entry.address = libusb_get_device_address(device);
    const PortPath path(device);
    entry.ports.assign(path.ports.begin(), path.ports.begin() + path.count);
    entry.speed = FromLibusbSpeed(libusb_get_device_speed(device));
    entry.activeConfiguration = ActiveConfiguration(device);
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(device, &descriptor);
    // The kernel's own bytes come first: libusb drops a configuration that it cannot parse. They must belong to the
    // same device, though: another one may sit on the port by now.
    const bool fromKernel = SplitDescriptors(ReadSmallFile(DescriptorsPath(entry.id)), entry);
    if (!fromKernel || entry.device != DeviceDescriptorBytes(descriptor)) DescribeFromParsed(device, descriptor, entry);
    return entry;
}

} // namespace usb
