#include "virtualcam/device/Device.h"

#include <utility>

namespace virtualcam {
namespace {

constexpr std::uint32_t kSmallestLeader = 52;
constexpr std::uint32_t kSmallestTrailer = 36;

// The built-in description is packed once for all cameras of the process.
std::shared_ptr<const Manifest> ManifestFor(const RegisterFaults& registers) {
    if (registers.manifest != ManifestFault::None || !registers.descriptionPath.empty())
        return std::make_shared<Manifest>(BuildManifest(registers.manifest, registers.descriptionPath));
    static const auto builtIn = std::make_shared<const Manifest>(BuildManifest(ManifestFault::None, {}));
    return builtIn;
}

} // namespace

Device::Device(const CameraSettings& settings)
    : m_Settings(settings), m_Descriptors(m_Settings), m_Manifest(ManifestFor(settings.registers)),
      m_Endpoints(settings.streams, settings.registers.asymmetricEndpoints), m_Faults(settings.faults),
      m_Zero({m_Descriptors, m_Endpoints, *this}, !settings.registers.unreadableStrings),
      m_Thread([this] { return RunTimers(); }) {
    for (unsigned stream = 0; stream < settings.streams; ++stream)
        m_Streams.emplace_back(stream, m_Descriptors.MaxPacketSize());
    m_Persistent.userName = settings.userName;
    if (settings.plugged) PowerUp();
}

Device::~Device() {
    m_Thread.Stop();
}

// --- transfers

PipeAnswer Device::Control(const usb::ControlSetup& setup, std::uint8_t* data) {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Camera) return {PipeStatus::Gone, 0};
    if (m_Presence.IsLeaving()) return {PipeStatus::Error, 0};
    return m_Zero.Serve(setup, data);
}

PipeAnswer Device::Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) {
    const Tavix::MutexLock lock(m_Lock);
    if (endpoint != kControlOut) return {m_Camera ? PipeStatus::Error : PipeStatus::Gone, 0};
    const PipeStatus obstacle = Obstacle(endpoint);
    if (obstacle != PipeStatus::Complete) return {obstacle, 0};
    const TimePoint now = Clock::Now();
    m_Camera->Control().RunTimers(now);
    const CommandEffect effect = m_Camera->Control().Receive(data, length, now);
    m_OutRefused = !effect.accepted;
    if (!effect.accepted) return {PipeStatus::NotYet, 0};
    if (effect.unplug) {
        PullOut();
        return {Obstacle(endpoint), 0};
    }
    if (effect.haltIn) Halt(kControlIn);
    if (effect.haltOut) Halt(kControlOut);
    m_Thread.Reschedule(Deadline());
    return effect.haltOut ? PipeAnswer{PipeStatus::Stall, 0} : PipeAnswer{PipeStatus::Complete, length};
}

PipeAnswer Device::In(std::uint8_t endpoint, std::uint8_t* buffer, std::size_t room) {
    const std::uint8_t role = m_Endpoints.RoleOf(endpoint);
    if (DeviceStream* const stream = FindStream(role)) return StreamIn(*stream, buffer, room);
    const Tavix::MutexLock lock(m_Lock);
    const PipeStatus obstacle = Obstacle(role);
    if (obstacle != PipeStatus::Complete) return {obstacle, 0};
    if (role == kEventIn) return m_Camera->Events().Take(buffer, room);
    if (role != kControlIn) return {PipeStatus::Error, 0};
    m_Camera->Control().RunTimers(Clock::Now());
    const PipeAnswer answer = m_Camera->Control().Take(buffer, room);
    if (m_OutRefused && answer.bytes != 0) Post(kControlOut);
    return answer;
}

void Device::RequestService(std::uint8_t endpoint) {
    m_Thread.Ready(endpoint);
}

PipeStatus Device::Obstacle(std::uint8_t role) const {
    if (!m_Camera) return PipeStatus::Gone;
    if (m_Presence.IsLeaving()) return PipeStatus::Error;
    return m_States.IsHalted(role) ? PipeStatus::Stall : PipeStatus::Complete;
}

// --- streams: where the sensors' frames meet the host's transfers

DeviceStream* Device::FindStream(std::uint8_t role) {
    const unsigned stream = StreamOf(role);
    return stream < m_Streams.size() ? &m_Streams[stream] : nullptr;
}

PipeAnswer Device::StreamIn(DeviceStream& stream, std::uint8_t* buffer, std::size_t room) {
    const PipeStatus obstacle = StreamObstacle(stream.Index());
    if (obstacle != PipeStatus::Complete) return {obstacle, 0};
    std::size_t done = 0;
    while (true) {
        const DeviceStream::Taken taken = stream.Take(buffer + done, room - done);
        const PipeStatus status = taken.answer.status;
        done += taken.answer.bytes;
        if (status == PipeStatus::NotYet && taken.wantsFrame && BeginBlock(stream)) continue;
        const bool goesOn = status == PipeStatus::NotYet || status == PipeStatus::Complete;
        return {goesOn ? status : StreamBroke(stream.Index(), status), done};
    }
}

PipeStatus Device::StreamObstacle(unsigned stream) const {
    const Tavix::MutexLock lock(m_Lock);
    const PipeStatus obstacle = Obstacle(StreamEndpoint(stream));
    if (obstacle != PipeStatus::Complete) return obstacle;
    return m_States.IsSilent(StreamEndpoint(stream)) ? PipeStatus::NotYet : PipeStatus::Complete;
}

// Hands the next frame to the stream; false when there is none yet.
bool Device::BeginBlock(DeviceStream& stream) {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Camera) return false;
    const std::optional<Frame> frame = m_Camera->TakeFrame(stream.Index(), Clock::Now());
    m_Thread.Reschedule(Deadline());
    return frame && stream.Begin(*frame);
}

// The scripted end of a transfer, as the host sees it.
PipeStatus Device::StreamBroke(unsigned stream, PipeStatus status) {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Camera) return PipeStatus::Gone;
    if (status == PipeStatus::Stall) Halt(StreamEndpoint(stream));
    if (status != PipeStatus::Gone) return status;
    PullOut();
    return Obstacle(StreamEndpoint(stream));
}

// --- what the camera asks for

void Device::StreamAvailable() {
    for (const DeviceStream& stream : m_Streams)
        Post(StreamEndpoint(stream.Index()));
}

Status Device::CheckStreamEnable(unsigned stream) {
    if (const std::optional<Status> refusal = m_Faults.RefusesStream()) return *refusal;
    const StreamLayout layout = m_Camera->Layout(stream);
    const bool fits =
        layout.maximumLeader >= kSmallestLeader && layout.maximumTrailer >= kSmallestTrailer && layout.Capacity() != 0;
    return fits && m_Camera->IsLayoutAligned(stream) ? Status::Success : Status::StreamRegistersInconsistent;
}

void Device::StreamEnabled(unsigned stream, bool on) {
    const std::uint8_t role = StreamEndpoint(stream);
    const StreamLayout layout = m_Camera->Layout(stream);
    const std::uint32_t limit = m_Settings.registers.silentAboveTransfer;
    m_States.SetChoked(role, on && limit != 0 && layout.LargestTransfer() > limit);
    if (on) {
        m_Streams[stream].Start(layout, m_Settings.registers.largestTransfer);
    } else {
        m_Streams[stream].Stop();
        if (m_Faults.Script().haltOnStreamDisable) m_States.Halt(role);
        m_States.SetMute(role, m_Faults.Script().muteUntilClearHalt);
    }
    Post(role);
}

} // namespace virtualcam
