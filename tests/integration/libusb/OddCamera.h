#pragma once
// Virtual cameras below the real libusb behind something that changes what passes.

#include "support/usbfs/Bus.h"
#include "support/usbfs/VirtualCamera.h"

#include <atomic>

namespace integration {

/// Passes everything on. Thread-safe, as what is behind it.
class OddCamera : public usbfs::DeviceModel {
public:
    OddCamera() : m_Camera(Settings()) {}

    virtualcam::Device& Camera() { return m_Camera.Camera(); }

    void Attached(usbfs::DevicePort& port) override { m_Camera.Attached(port); }
    void Detached() override { m_Camera.Detached(); }
    usbfs::Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) override {
        return m_Camera.Control(setup, data);
    }
    usbfs::Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) override {
        return m_Camera.In(endpoint, data, room);
    }
    usbfs::Answer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) override {
        return m_Camera.Out(endpoint, data, length);
    }
    bool Reset() override { return m_Camera.Reset(); }

private:
    static virtualcam::CameraSettings Settings() {
        virtualcam::CameraSettings settings;
        settings.frameRateEnable = false;
        return settings;
    }

    usbfs::VirtualCamera m_Camera;
};

/// The camera is the second configuration of its device; the first one, which the system chooses, has an interface of
/// its maker's own.
class SecondConfiguration final : public OddCamera {
public:
    static constexpr std::uint8_t kOther = 1;
    static constexpr std::uint8_t kCamera = 2;

    /// The active one.
    int Active() const { return m_Active; }
    /// How often one was chosen, the system's choice included.
    unsigned int Choices() const { return m_Choices; }

    usbfs::Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) override;

private:
    usbfs::Answer Select(std::uint16_t value);

    std::atomic<int> m_Active{0};
    std::atomic<unsigned int> m_Choices{0};
};

/// A bus on which transfers of more than 64 KiB never end.
class NarrowBus final : public OddCamera {
public:
    usbfs::Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) override {
        if (room > 65536) return {};
        return OddCamera::In(endpoint, data, room);
    }
};

} // namespace integration
