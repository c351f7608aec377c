// The device's coming to the bus, its leaving, resets and halts.

#include <utility>

#include "virtualcam/device/Device.h"

namespace virtualcam {
namespace {

constexpr milliseconds kRestartDelay{20};
constexpr milliseconds kRestartTime{100};

} // namespace

bool Device::IsPlugged() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Camera != nullptr;
}

void Device::Plug() {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Camera) PlugIn();
    m_Thread.Reschedule(Deadline());
}

void Device::Unplug() {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Camera) PullOut();
    m_Presence.StayAway();
}

void Device::PlugIn() {
    PowerUp();
    m_Thread.Plugged();
}

// Nothing has changed when memory is short for it.
void Device::PowerUp() {
    CameraHost& host = *this;
    auto camera = std::make_unique<Firmware>(m_Settings, *m_Manifest, m_Persistent, host);
    camera->Control().SetFaults(m_Faults.Script().control);
    camera->Events().SetFaults(m_Faults.Script().events);
    PassFaults();
    m_States = EndpointStates();
    m_Zero.Reset();
    m_Presence.Came();
    m_Camera = std::move(camera);
    for (DeviceStream& stream : m_Streams)
        stream.SetExtraPayload(m_Settings.registers.extraPayload);
    ++m_Generation;
}

void Device::PassFaults() {
    for (DeviceStream& stream : m_Streams)
        stream.SetFaults(m_Faults);
}

// On real buses transfers often fail for a moment before the system knows that the device has gone.
void Device::PullOut() {
    if (m_Presence.IsLeaving()) return;
    const milliseconds errors(m_Faults.Script().unplugErrorsMs);
    if (errors.count() == 0) return Leave();
    m_Presence.LeaveAt(Clock::Now() + errors);
    for (const std::uint8_t role : m_Endpoints.Roles())
        Post(role);
    m_Thread.Reschedule(Deadline());
}

void Device::Leave() {
    m_Camera->DisableStreams();
    m_Camera.reset();
    ++m_Generation;
    m_Faults.EndRules();
    const std::optional<milliseconds> pause = m_Faults.ReplugPause();
    m_Presence.Left(pause ? std::optional<TimePoint>(Clock::Now() + *pause) : std::nullopt);
    m_Thread.Unplugged();
    m_Thread.Reschedule(Deadline());
}

void Device::BusReset() {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Camera) return;
    ResetInterfaces();
    m_Camera->Control().Revive();
}

void Device::ResetInterfaces() {
    m_Camera->ResetInterfaces();
    m_States.ClearHalts();
}

// --- halts

void Device::SetHalt(std::uint8_t endpoint) {
    const Tavix::MutexLock lock(m_Lock);
    const std::uint8_t role = m_Endpoints.RoleOf(endpoint);
    if (m_Camera && m_Endpoints.HasRole(role)) Halt(role);
}

void Device::ClearHalt(std::uint8_t endpoint) {
    const Tavix::MutexLock lock(m_Lock);
    const std::uint8_t role = m_Endpoints.RoleOf(endpoint);
    if (m_Camera && m_Endpoints.HasRole(role)) HostClearedHalt(role);
}

bool Device::IsHalted(std::uint8_t endpoint) const {
    const Tavix::MutexLock lock(m_Lock);
    return m_States.IsHalted(m_Endpoints.RoleOf(endpoint));
}

void Device::Halt(std::uint8_t role) {
    m_States.Halt(role);
    if (role == kEventIn)
        m_Camera->DisableEvents();
    else if (FindStream(role))
        m_Camera->DisableStream(StreamOf(role));
    else
        m_Camera->Control().Abort();
    Post(role);
}

void Device::HostSetHalt(std::uint8_t role) {
    if (m_Faults.Script().dieOnSetHalt)
        PullOut();
    else
        Halt(role);
}

void Device::HostClearedHalt(std::uint8_t role) {
    m_States.ClearHalt(role);
    // A clear without a halt before it resets a channel just as well: nothing stale is left for the next host.
    if (role == kControlOut || role == kControlIn) m_Camera->Control().Abort();
    if (!FindStream(role)) return;
    m_Camera->DisableStream(StreamOf(role));
    m_States.SetMute(role, /*isMute=*/false);
}

// --- the device's own thread

void Device::ResetRequested() {
    m_Presence.RestartAt(Clock::Now() + kRestartDelay);
}

std::optional<TimePoint> Device::Deadline() const {
    return m_Camera ? Earlier(m_Presence.Deadline(), m_Camera->Deadline()) : m_Presence.Deadline();
}

std::optional<TimePoint> Device::RunTimers() {
    const Tavix::MutexLock lock(m_Lock);
    const TimePoint now = Clock::Now();
    if (m_Presence.IsReturnDue(now)) PlugIn();
    if (m_Presence.IsLeavingDue(now)) Leave();
    if (m_Presence.IsRestartDue(now)) {
        Leave();
        m_Presence.Left(now + kRestartTime);
    }
    if (m_Camera) {
        if (m_Camera->Control().RunTimers(now)) Post(kControlIn);
        m_Camera->RunTimers(now);
    }
    return Deadline();
}

} // namespace virtualcam
