#include "virtualcam/remote/RemoteCamera.h"

#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>

namespace virtualcam {
namespace {

Descriptor MakeSignal() {
    Descriptor signal(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (signal.Get() < 0) throw std::runtime_error("no file descriptor is left for a camera");
    return signal;
}

void Raise(const Descriptor& signal) {
    eventfd_write(signal.Get(), 1);
}

void Lower(const Descriptor& signal) {
    eventfd_t value = 0;
    eventfd_read(signal.Get(), &value);
}

} // namespace

RemoteCamera::RemoteCamera(const CameraSettings& settings, unsigned index)
    : m_Device(settings), m_Index(index), m_Wake(MakeSignal()), m_End(MakeSignal()) {
    m_Plugged = m_Device.IsPlugged();
    m_Stays = m_Plugged ? 1 : 0;
    m_Device.SetListener(this);
}

RemoteCamera::~RemoteCamera() {
    m_Device.SetListener(nullptr);
}

bool RemoteCamera::IsFree() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Plugged && !m_Taken && !m_Closed;
}

bool RemoteCamera::Take() {
    {
        const Tavix::MutexLock lock(m_Lock);
        if (!m_Plugged || m_Taken || m_Closed) return false;
        m_Taken = true;
        m_Ready.Clear();
        Lower(m_Wake);
        Lower(m_End);
    }
    m_Device.BusReset();
    return true;
}

void RemoteCamera::GiveBack() {
    m_Device.BusReset(); // a camera without a host does not go on streaming
    const Tavix::MutexLock lock(m_Lock);
    m_Taken = false;
}

void RemoteCamera::Close() {
    const Tavix::MutexLock lock(m_Lock);
    m_Closed = true;
    m_Changed.notify_all();
    Raise(m_End);
    Raise(m_Wake);
}

bool RemoteCamera::AwaitStay(std::uint64_t& stay) {
    Tavix::MutexLock lock(m_Lock);
    while (!m_Closed && !(m_Plugged && m_Stays > stay))
        lock.Wait(m_Changed);
    stay = m_Stays;
    return !m_Closed;
}

EndpointSet RemoteCamera::TakeReady() {
    const Tavix::MutexLock lock(m_Lock);
    Lower(m_Wake);
    return std::exchange(m_Ready, {});
}

// --- the device speaks

void RemoteCamera::EndpointReady(std::uint8_t endpoint) {
    const Tavix::MutexLock lock(m_Lock);
    m_Ready.Add(endpoint);
    Raise(m_Wake);
}

void RemoteCamera::Unplugged() {
    const Tavix::MutexLock lock(m_Lock);
    m_Plugged = false;
    Raise(m_End);
}

void RemoteCamera::Plugged() {
    const Tavix::MutexLock lock(m_Lock);
    m_Plugged = true;
    ++m_Stays;
    m_Changed.notify_all();
    Raise(m_Wake);
}

RemoteCameras MakeRemoteCameras(const BackendSettings& settings) {
    RemoteCameras cameras;
    for (const CameraSettings& camera : settings.cameras)
        cameras.push_back(std::make_unique<RemoteCamera>(camera, static_cast<unsigned>(cameras.size())));
    return cameras;
}

} // namespace virtualcam
