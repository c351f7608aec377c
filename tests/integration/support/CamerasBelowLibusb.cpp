// Cameras on the emulated bus of this program, which the real libusb finds.
#include "CamerasOnBus.h"

#include "support/usbfs/VirtualCamera.h"

#include <cstdlib>
#include <stdexcept>

namespace integration {
namespace {

virtualcam::BackendSettings Parse(const std::string& text) {
    virtualcam::BackendSettings settings;
    std::string error;
    if (!virtualcam::ParseSettings(text, settings, error)) throw std::runtime_error(error);
    return settings;
}

class CamerasBelowLibusb final : public CamerasOnBus {
public:
    explicit CamerasBelowLibusb(const std::string& settings) : m_Cameras(Parse(settings)) {
        unsetenv("TAVIX_VIRTUAL_CAMERAS");
    }
    virtualcam::Device* Find(std::size_t index) override { return &m_Cameras[index]; }

private:
    usbfs::VirtualCameras m_Cameras;
};

} // namespace

std::unique_ptr<CamerasOnBus> PlugIn(const std::string& settings) {
    return std::make_unique<CamerasBelowLibusb>(settings);
}

} // namespace integration
