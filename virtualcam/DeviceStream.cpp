// The stream endpoint: where the sensor's frames meet the host's transfers.

#include "virtualcam/Device.h"

namespace virtualcam {
namespace {

constexpr std::uint32_t kSmallestLeader = 52;
constexpr std::uint32_t kSmallestTrailer = 36;

} // namespace

Status Device::CheckStreamEnable() {
    if (m_Faults.refuseStreamEnable != 0) {
        --m_Faults.refuseStreamEnable;
        return static_cast<Status>(m_Faults.streamEnableStatus);
    }
    const StreamLayout layout = m_Camera->Layout();
    const bool fits =
        layout.maximumLeader >= kSmallestLeader && layout.maximumTrailer >= kSmallestTrailer && layout.Capacity() != 0;
    return fits && m_Camera->IsLayoutAligned() ? Status::Success : Status::StreamRegistersInconsistent;
}

void Device::StreamEnabled(bool on) {
    const StreamLayout layout = m_Camera->Layout();
    const std::uint32_t limit = m_Settings.registers.silentAboveTransfer;
    m_Choked = on && limit != 0 && layout.LargestTransfer() > limit;
    {
        const std::lock_guard<std::mutex> lock(m_StreamLock);
        if (on)
            m_Stream.Start(layout, m_Settings.registers.largestTransfer);
        else
            m_Stream.Stop();
    }
    if (!on && m_Faults.haltOnStreamDisable) m_Halts |= EndpointBit(kStreamIn);
    if (!on) m_Mute = m_Faults.muteUntilClearHalt;
    Post(kStreamIn);
}

PipeAnswer Device::StreamIn(std::uint8_t* buffer, std::size_t room) {
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        const PipeStatus obstacle = ObstacleLocked(kStreamIn);
        if (obstacle != PipeStatus::Complete) return {obstacle, 0};
        if (m_Mute || m_Choked) return {PipeStatus::NotYet, 0};
    }
    std::size_t done = 0;
    while (true) {
        PipeAnswer answer;
        bool wantsFrame = false;
        {
            const std::lock_guard<std::mutex> lock(m_StreamLock);
            answer = m_Stream.Take(buffer + done, room - done);
            wantsFrame = m_Stream.WantsFrame();
        }
        done += answer.bytes;
        if (answer.status == PipeStatus::NotYet && wantsFrame && BeginBlock()) continue;
        const bool goesOn = answer.status == PipeStatus::NotYet || answer.status == PipeStatus::Complete;
        return {goesOn ? answer.status : StreamBroke(answer.status), done};
    }
}

// Hands the next frame to the stream; false when there is none yet.
bool Device::BeginBlock() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return false;
    const std::optional<Frame> frame = m_Camera->TakeFrame(Clock::Now());
    Reschedule(DeadlineLocked());
    if (!frame) return false;
    const std::lock_guard<std::mutex> stream(m_StreamLock);
    if (!m_Stream.WantsFrame()) return false;
    m_Stream.Begin(*frame);
    return true;
}

// The scripted end of a transfer, as the host sees it.
PipeStatus Device::StreamBroke(PipeStatus status) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return PipeStatus::Gone;
    if (status == PipeStatus::Stall) SetHaltLocked(kStreamIn);
    if (status != PipeStatus::Gone) return status;
    UnplugLocked();
    return ObstacleLocked(kStreamIn);
}

} // namespace virtualcam
