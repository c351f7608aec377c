// The stream endpoints: where the sensors' frames meet the host's transfers.

#include <algorithm>
#include <iterator>
#include <utility>

#include "virtualcam/device/Device.h"

namespace virtualcam {
namespace {

constexpr std::uint32_t kSmallestLeader = 52;
constexpr std::uint32_t kSmallestTrailer = 36;

} // namespace

Device::Stream* Device::FindStream(std::uint8_t endpoint) {
    const unsigned stream = StreamOf(endpoint);
    return stream < m_Streams.size() ? &m_Streams[stream] : nullptr;
}

void Device::StreamAvailable() {
    for (const Stream& stream : m_Streams)
        Post(StreamEndpoint(stream.index));
}

// Each stream gets the rules that are about it, or about all.
void Device::SetStreamFaults() {
    for (Stream& stream : m_Streams) {
        std::vector<StreamFaultRule> rules;
        std::copy_if(
            m_Faults.stream.begin(), m_Faults.stream.end(), std::back_inserter(rules),
            [&stream](const StreamFaultRule& rule) { return rule.stream.value_or(stream.index) == stream.index; });
        const std::lock_guard<std::mutex> lock(stream.lock);
        stream.channel.SetFaults(std::move(rules));
    }
}

Status Device::CheckStreamEnable(unsigned stream) {
    if (m_Faults.refuseStreamEnable != 0) {
        --m_Faults.refuseStreamEnable;
        return static_cast<Status>(m_Faults.streamEnableStatus);
    }
    const StreamLayout layout = m_Camera->Layout(stream);
    const bool fits =
        layout.maximumLeader >= kSmallestLeader && layout.maximumTrailer >= kSmallestTrailer && layout.Capacity() != 0;
    return fits && m_Camera->IsLayoutAligned(stream) ? Status::Success : Status::StreamRegistersInconsistent;
}

void Device::StreamEnabled(unsigned index, bool on) {
    Stream& stream = m_Streams[index];
    const std::uint8_t endpoint = StreamEndpoint(index);
    const StreamLayout layout = m_Camera->Layout(index);
    const std::uint32_t limit = m_Settings.registers.silentAboveTransfer;
    stream.choked = on && limit != 0 && layout.LargestTransfer() > limit;
    {
        const std::lock_guard<std::mutex> lock(stream.lock);
        if (on) stream.meter = StreamMeter();
        if (on)
            stream.channel.Start(layout, m_Settings.registers.largestTransfer);
        else
            stream.channel.Stop();
    }
    if (!on && m_Faults.haltOnStreamDisable) m_Halts |= EndpointBit(endpoint);
    if (!on) stream.mute = m_Faults.muteUntilClearHalt;
    Post(endpoint);
}

PipeAnswer Device::StreamIn(Stream& stream, std::uint8_t* buffer, std::size_t room) {
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        const PipeStatus obstacle = ObstacleLocked(StreamEndpoint(stream.index));
        if (obstacle != PipeStatus::Complete) return {obstacle, 0};
        if (stream.mute || stream.choked) return {PipeStatus::NotYet, 0};
    }
    std::size_t done = 0;
    while (true) {
        PipeAnswer answer;
        bool wantsFrame = false;
        {
            const std::lock_guard<std::mutex> lock(stream.lock);
            if (stream.meter.IsWaiting()) stream.meter.Asked(Clock::Now());
            answer = stream.channel.Take(buffer + done, room - done);
            wantsFrame = stream.channel.WantsFrame();
            if (answer.status == PipeStatus::Complete)
                stream.meter.Ended(wantsFrame ? StreamMeter::End::Block : StreamMeter::End::Transfer, Clock::Now());
        }
        done += answer.bytes;
        if (answer.status == PipeStatus::NotYet && wantsFrame && BeginBlock(stream)) continue;
        const bool goesOn = answer.status == PipeStatus::NotYet || answer.status == PipeStatus::Complete;
        return {goesOn ? answer.status : StreamBroke(stream, answer.status), done};
    }
}

Bytes Device::StreamFigures(unsigned stream) const {
    const std::lock_guard<std::mutex> lock(m_Streams[stream].lock);
    return m_Streams[stream].meter.Figures();
}

// Hands the next frame to the stream; false when there is none yet.
bool Device::BeginBlock(Stream& stream) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return false;
    const std::optional<Frame> frame = m_Camera->TakeFrame(stream.index, Clock::Now());
    m_Thread.Reschedule(DeadlineLocked());
    if (!frame) return false;
    const std::lock_guard<std::mutex> streamLock(stream.lock);
    if (!stream.channel.WantsFrame()) return false;
    stream.channel.Begin(*frame);
    return true;
}

// The scripted end of a transfer, as the host sees it.
PipeStatus Device::StreamBroke(const Stream& stream, PipeStatus status) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return PipeStatus::Gone;
    if (status == PipeStatus::Stall) SetHaltLocked(StreamEndpoint(stream.index));
    if (status != PipeStatus::Gone) return status;
    UnplugLocked();
    return ObstacleLocked(StreamEndpoint(stream.index));
}

} // namespace virtualcam
