// A bus without devices.
#include "usb/NullBackend.h"

namespace usb {

const char* NullBackend::Name() const {
    return "null";
}

Result NullBackend::Enumerate(std::vector<DeviceEntry>&) {
    return Result::Ok;
}

Result NullBackend::Open(const std::string&, std::unique_ptr<Handle>& handle) {
    handle.reset();
    return Result::NotFound;
}

std::uint64_t NullBackend::RegisterHotplug(HotplugHandler) {
    return 0;
}

void NullBackend::DeregisterHotplug(std::uint64_t) {}

} // namespace usb
