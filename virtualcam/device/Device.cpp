#include "virtualcam/device/Device.h"

#include <utility>

namespace virtualcam {
namespace {

constexpr milliseconds kRestartDelay{20};
constexpr int kRestartTimeMs = 100;

// The built-in description is packed once for all cameras of the process.
std::shared_ptr<const Manifest> ManifestFor(const RegisterFaults& registers) {
    if (registers.manifest != ManifestFault::None || !registers.descriptionPath.empty())
        return std::make_shared<Manifest>(BuildManifest(registers.manifest, registers.descriptionPath));
    static const auto builtIn = std::make_shared<const Manifest>(BuildManifest(ManifestFault::None, {}));
    return builtIn;
}

std::vector<std::uint8_t> EndpointsOf(const CameraSettings& settings) {
    std::vector<std::uint8_t> endpoints{kControlOut, kControlIn, kEventIn};
    for (unsigned stream = 0; stream < settings.streams; ++stream)
        endpoints.push_back(StreamEndpoint(stream));
    return endpoints;
}

} // namespace

Device::Device(const CameraSettings& settings)
    : m_Settings(settings), m_Descriptors(m_Settings), m_Manifest(ManifestFor(settings.registers)),
      m_Endpoints(EndpointsOf(settings)), m_Faults(settings.faults), m_Thread([this] { return RunTimers(); }) {
    for (unsigned stream = 0; stream < settings.streams; ++stream)
        m_Streams.emplace_back(stream, m_Descriptors.MaxPacketSize());
    m_Persistent.userName = settings.userName;
    if (settings.plugged) PowerUpLocked();
}

Device::~Device() {
    m_Thread.Stop();
}

// --- transfers

PipeAnswer Device::Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (endpoint != kControlOut) return {m_Camera ? PipeStatus::Error : PipeStatus::Gone, 0};
    const PipeStatus obstacle = ObstacleLocked(endpoint);
    if (obstacle != PipeStatus::Complete) return {obstacle, 0};
    const TimePoint now = Clock::Now();
    m_Camera->Control().RunTimers(now);
    const CommandEffect effect = m_Camera->Control().Receive(data, length, now);
    m_OutRefused = !effect.accepted;
    if (!effect.accepted) return {PipeStatus::NotYet, 0};
    if (effect.unplug) {
        UnplugLocked();
        return {ObstacleLocked(endpoint), 0};
    }
    if (effect.haltIn) SetHaltLocked(kControlIn);
    if (effect.haltOut) SetHaltLocked(kControlOut);
    m_Thread.Reschedule(DeadlineLocked());
    return effect.haltOut ? PipeAnswer{PipeStatus::Stall, 0} : PipeAnswer{PipeStatus::Complete, length};
}

PipeAnswer Device::In(std::uint8_t address, std::uint8_t* buffer, std::size_t room) {
    const std::uint8_t endpoint = RoleOf(address);
    if (Stream* const stream = FindStream(endpoint)) return StreamIn(*stream, buffer, room);
    const std::lock_guard<std::mutex> lock(m_Lock);
    const PipeStatus obstacle = ObstacleLocked(endpoint);
    if (obstacle != PipeStatus::Complete) return {obstacle, 0};
    if (endpoint == kEventIn) return m_Camera->Events().Take(buffer, room);
    if (endpoint != kControlIn) return {PipeStatus::Error, 0};
    m_Camera->Control().RunTimers(Clock::Now());
    const PipeAnswer answer = m_Camera->Control().Take(buffer, room);
    if (m_OutRefused && answer.bytes != 0) Post(kControlOut);
    return answer;
}

void Device::RequestService(std::uint8_t endpoint) {
    m_Thread.Ready(endpoint);
}

// --- camera host

void Device::ResetRequested() {
    m_Restart = Clock::Now() + kRestartDelay;
}

// --- the device's own thread

std::optional<TimePoint> Device::DeadlineLocked() const {
    std::optional<TimePoint> deadline = Earlier(Earlier(m_Replug, m_Restart), m_Leaving);
    if (m_Camera) deadline = Earlier(deadline, m_Camera->Deadline());
    return deadline;
}

std::optional<TimePoint> Device::RunTimers() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    RunTimersLocked(Clock::Now());
    return DeadlineLocked();
}

void Device::RunTimersLocked(TimePoint now) {
    if (m_Replug && now >= *m_Replug) PlugLocked();
    if (m_Leaving && now >= *m_Leaving) LeaveLocked();
    if (m_Restart && now >= *m_Restart) {
        LeaveLocked();
        m_Replug = now + milliseconds(kRestartTimeMs);
    }
    if (!m_Camera) return;
    if (m_Camera->Control().RunTimers(now)) Post(kControlIn);
    m_Camera->RunTimers(now);
}

// --- inside

Status Device::ReadRegister(std::uint64_t address, std::uint8_t* to, std::size_t length) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Camera ? m_Camera->Registers().Read(address, to, length) : Status::AccessDenied;
}

Status Device::WriteRegister(std::uint64_t address, const std::uint8_t* from, std::size_t length) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    const Status status = m_Camera ? m_Camera->Registers().Write(address, from, length) : Status::AccessDenied;
    m_Thread.Reschedule(DeadlineLocked());
    return status;
}

void Device::FireEvent(std::uint16_t id, const Bytes& data) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera) m_Camera->RaiseEvent(id, data);
}

void Device::FireRawEvent(const Bytes& message) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera && m_Camera->Events().RaiseRaw(message)) EventQueued();
}

void Device::SetFaults(const FaultScript& faults) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Faults = faults;
    if (m_Camera) {
        m_Camera->Control().SetFaults(faults.control);
        m_Camera->Events().SetFaults(faults.events);
    }
    SetStreamFaults();
}

void Device::JumpClock(std::chrono::nanoseconds by) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera) m_Camera->Time().Jump(by);
}

void Device::SetInput(std::uint32_t line, bool high) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera) m_Camera->SetInput(line, high);
    m_Thread.Reschedule(DeadlineLocked());
}

std::uint64_t Device::LostFrames() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Camera ? m_Camera->LostFrames() : 0;
}

bool Device::RefusesOpen() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Faults.refuseOpens != 0 && m_Faults.refuseOpens-- != 0;
}

bool Device::RefusesClaim() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Faults.refuseClaims != 0 && m_Faults.refuseClaims-- != 0;
}

std::string Device::UserName() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Persistent.userName;
}

std::uint64_t Device::Commands() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Camera ? m_Camera->Control().Commands() : 0;
}

} // namespace virtualcam
