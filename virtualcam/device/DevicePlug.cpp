// The device's coming to the bus, its leaving, and resets.

#include "virtualcam/device/Device.h"

namespace virtualcam {

bool Device::IsPlugged() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Camera != nullptr;
}

void Device::Plug() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) PlugLocked();
    m_Thread.Reschedule(DeadlineLocked());
}

void Device::Unplug() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera) UnplugLocked();
    m_Replug.reset();
}

void Device::PlugLocked() {
    PowerUpLocked();
    m_Thread.Plugged();
}

// Nothing has changed when memory is short for it.
void Device::PowerUpLocked() {
    CameraHost& host = *this;
    auto camera = std::make_unique<Firmware>(m_Settings, *m_Manifest, m_Persistent, host);
    camera->Control().SetFaults(m_Faults.control);
    camera->Events().SetFaults(m_Faults.events);
    SetStreamFaults();
    m_Halts = 0;
    m_Configuration = 1;
    m_Replug.reset();
    m_Restart.reset();
    m_Camera = std::move(camera);
    for (Stream& stream : m_Streams) {
        stream.mute = false;
        const std::lock_guard<std::mutex> streamLock(stream.lock);
        stream.channel.SetExtraPayload(m_Settings.registers.extraPayload);
    }
    ++m_Generation;
}

// On real buses transfers often fail for a moment before the system knows that the device has gone.
void Device::UnplugLocked() {
    if (m_Leaving) return;
    if (m_Faults.unplugErrorsMs == 0) {
        LeaveLocked();
        return;
    }
    m_Leaving = Clock::Now() + milliseconds(m_Faults.unplugErrorsMs);
    for (const std::uint8_t endpoint : m_Endpoints)
        Post(endpoint);
    m_Thread.Reschedule(DeadlineLocked());
}

void Device::LeaveLocked() {
    m_Camera->DisableStreams();
    m_Camera.reset();
    ++m_Generation;
    m_Leaving.reset();
    m_Restart.reset();
    m_Faults.control.clear(); // what is scripted happens once, not again after coming back
    m_Faults.stream.clear();
    m_Faults.events.clear();
    if (m_Faults.replugAfterMs >= 0) m_Replug = Clock::Now() + milliseconds(m_Faults.replugAfterMs);
    m_Thread.Unplugged();
    m_Thread.Reschedule(DeadlineLocked());
}

void Device::BusReset() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return;
    m_Camera->ResetInterfaces();
    m_Camera->Control().Revive();
    m_Halts = 0;
}

PipeStatus Device::ObstacleLocked(std::uint8_t endpoint) const {
    if (!m_Camera) return PipeStatus::Gone;
    if (m_Leaving) return PipeStatus::Error;
    return IsHaltedLocked(endpoint) ? PipeStatus::Stall : PipeStatus::Complete;
}

} // namespace virtualcam
