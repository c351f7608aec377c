// The virtual camera as a device of the emulated bus.
#include "support/usbfs/VirtualCamera.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace usbfs {
namespace {

AnswerStatus ToAnswer(virtualcam::PipeStatus status) {
    switch (status) {
    case virtualcam::PipeStatus::Complete:
        return AnswerStatus::Complete;
    case virtualcam::PipeStatus::NotYet:
        return AnswerStatus::NotYet;
    case virtualcam::PipeStatus::Stall:
        return AnswerStatus::Stall;
    case virtualcam::PipeStatus::Overflow:
        return AnswerStatus::Overflow;
    case virtualcam::PipeStatus::Error:
    case virtualcam::PipeStatus::NoMemory: // the bus has no better word for it
        return AnswerStatus::Error;
    case virtualcam::PipeStatus::Gone:
        break;
    }
    return AnswerStatus::Gone;
}

Answer ToAnswer(const virtualcam::PipeAnswer& answer) {
    return {ToAnswer(answer.status), answer.bytes};
}

virtualcam::BackendSettings Read(const std::string& text) {
    virtualcam::BackendSettings settings;
    std::string error;
    if (!virtualcam::ReadSettings(text, settings, error)) throw std::runtime_error(error);
    return settings;
}

} // namespace

void VirtualCamera::Attached(DevicePort& port) {
    m_Port = &port;
    m_Camera.SetListener(this);
}

void VirtualCamera::Detached() {
    m_Camera.SetListener(nullptr);
}

Answer VirtualCamera::Control(const usb::ControlSetup& setup, std::uint8_t* data) {
    return ToAnswer(m_Camera.Control(setup, data));
}

Answer VirtualCamera::In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) {
    return ToAnswer(m_Camera.In(endpoint, data, room));
}

Answer VirtualCamera::Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) {
    return ToAnswer(m_Camera.Out(endpoint, data, length));
}

bool VirtualCamera::Reset() {
    m_Camera.BusReset();
    return m_Camera.IsPlugged();
}

int VirtualCamera::RefuseOpen() {
    return m_Camera.RefusesOpen() ? EACCES : 0;
}

int VirtualCamera::RefuseClaim() {
    return m_Camera.RefusesClaim() ? EBUSY : 0;
}

VirtualCameras::VirtualCameras(const std::string& settings) : VirtualCameras(Read(settings)) {}

VirtualCameras::VirtualCameras(const virtualcam::BackendSettings& settings) {
    constexpr std::size_t kMegabyte = 1u << 20;
    const std::size_t limit = (settings.transferMemoryLimit + kMegabyte - 1) / kMegabyte;
    Bus::Instance().Memory().SetLimit(static_cast<unsigned int>(limit));
    for (const virtualcam::CameraSettings& camera : settings.cameras) {
        PortSettings port;
        port.speed = camera.speed;
        m_Cameras.push_back(std::make_shared<VirtualCamera>(camera));
        m_Names.push_back(Bus::Instance().Plug(m_Cameras.back(), port));
    }
    if (std::count(m_Names.begin(), m_Names.end(), std::string()) == 0) return;
    RemoveAll();
    throw std::runtime_error("there are more virtual cameras than ports");
}

VirtualCameras::~VirtualCameras() {
    RemoveAll();
}

void VirtualCameras::RemoveAll() {
    for (const std::string& name : m_Names)
        Bus::Instance().Remove(name);
    Bus::Instance().Memory().SetLimit(0);
}

} // namespace usbfs
