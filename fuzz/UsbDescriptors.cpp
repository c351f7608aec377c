// Descriptors of any device on the bus, as the kernel keeps them.

#include "usb/libusb/LibusbDescriptors.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> bytes(data, data + size);
    usb::DeviceEntry entry;
    if (usb::SplitDescriptors(bytes, entry)) {
        std::size_t total = entry.device.size();
        for (const auto& configuration : entry.configurations)
            total += configuration.size();
        if (total > size) __builtin_trap();
    }
    for (const char c : usb::AsciiOfStringDescriptor(bytes))
        if (static_cast<unsigned char>(c) > 0x7F) __builtin_trap();
    return 0;
}
