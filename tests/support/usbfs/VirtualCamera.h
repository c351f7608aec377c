#pragma once
// The virtual camera as a device of the emulated bus.

#include "support/usbfs/Bus.h"
#include "support/usbfs/DeviceModel.h"

#include "virtualcam/device/Device.h"
#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/settings/BackendSettings.h"

#include <memory>
#include <string>
#include <vector>

namespace usbfs {

/// Carries the transfers of the emulated bus to a camera, and the camera's own plugging and unplugging to the bus: use
/// Camera().Unplug() and Plug() rather than those of the bus, so that the camera loses its power too. Thread-safe.
class VirtualCamera final : public DeviceModel, private virtualcam::DeviceListener {
public:
    explicit VirtualCamera(const virtualcam::CameraSettings& settings) : m_Camera(settings) {}

    virtualcam::Device& Camera() { return m_Camera; }

    // of DeviceModel
    void Attached(DevicePort& port) override;
    void Detached() override;
    Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) override;
    Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) override;
    Answer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) override;
    bool Reset() override;
    bool IsPluggedAtFirst() override { return m_Camera.IsPlugged(); }
    int RefuseOpen() override;
    int RefuseClaim() override;

private:
    // of DeviceListener
    void EndpointReady(std::uint8_t) override { m_Port->Wake(); }
    void Unplugged() override { m_Port->Unplug(); }
    void Plugged() override { m_Port->Plug(); }

    DevicePort* m_Port = nullptr; ///< borrowed; constant while the camera has a listener
    virtualcam::Device m_Camera;
};

/// Virtual cameras in the bus as long as this lives. Bound to a thread.
class VirtualCameras {
public:
    /// `settings` as for the virtual backend: a number, or the path of a file. Throws std::runtime_error when they are
    /// not understood or the bus is full.
    explicit VirtualCameras(const std::string& settings);
    explicit VirtualCameras(const virtualcam::BackendSettings& settings);
    ~VirtualCameras();
    VirtualCameras(const VirtualCameras&) = delete;
    VirtualCameras& operator=(const VirtualCameras&) = delete;

    std::size_t Count() const { return m_Cameras.size(); }
    virtualcam::Device& operator[](std::size_t index) { return m_Cameras[index]->Camera(); }
    /// Name of the camera's port ("2-1").
    const std::string& Name(std::size_t index) const { return m_Names[index]; }

private:
    void RemoveAll();

    std::vector<std::shared_ptr<VirtualCamera>> m_Cameras;
    std::vector<std::string> m_Names;
};

} // namespace usbfs
