// Prints id, speed and the first string of every device on the real bus: a program that knows nothing of an emulation.
#include "usb/libusb/LibusbBackend.h"

#include <cstdio>

int main() {
    std::string reason;
    const auto backend = usb::CreateLibusbBackend(reason);
    if (backend == nullptr) return std::fprintf(stderr, "%s\n", reason.c_str()), 1;
    std::vector<usb::DeviceEntry> devices;
    if (backend->Enumerate(devices) != usb::Result::Ok) return 1;
    for (const usb::DeviceEntry& device : devices) {
        std::unique_ptr<usb::Handle> handle;
        const usb::Result result = backend->Open(device.id, handle);
        std::printf("%s %d %s\n", device.id.c_str(), static_cast<int>(device.speed),
                    result == usb::Result::Ok ? handle->ReadString(device.device.at(14)).c_str() : usb::ToText(result));
    }
    return 0;
}
