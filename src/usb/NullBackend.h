#pragma once
// A bus without devices: what remains where no real bus can be reached.

#include "usb/Backend.h"

namespace usb {

/// Finds nothing, opens nothing, reports nothing. Thread-safe.
class NullBackend final : public Backend {
public:
    const char* Name() const override;
    [[nodiscard]] Result Enumerate(std::vector<DeviceEntry>& devices) override;
    [[nodiscard]] Result Open(const std::string& id, std::unique_ptr<Handle>& handle) override;
    std::uint64_t RegisterHotplug(HotplugHandler handler) override;
    void DeregisterHotplug(std::uint64_t registration) override;
};

} // namespace usb
