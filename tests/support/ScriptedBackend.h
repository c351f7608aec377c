#pragma once
// A bus with a scripted camera on it.

#include "support/ScriptedCamera.h"

#include <string>

namespace scripted {

/// The camera is listed as "1"; a mouse lies beside it. Thread-safe.
class ScriptedBackend final : public usb::Backend {
public:
    explicit ScriptedBackend(Camera& camera, std::string name = "scripted")
        : m_Camera(camera), m_Name(std::move(name)) {}
    const char* Name() const override { return m_Name.c_str(); }
    [[nodiscard]] usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override;
    [[nodiscard]] usb::Result Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) override;
    std::uint64_t RegisterHotplug(usb::HotplugHandler handler) override;
    void DeregisterHotplug(std::uint64_t registration) override;

private:
    Camera& m_Camera;
    const std::string m_Name;
};

/// A handle of the camera without a bus around it.
std::unique_ptr<usb::Handle> OpenHandle(Camera& camera);

} // namespace scripted
