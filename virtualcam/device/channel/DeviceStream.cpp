#include "virtualcam/device/channel/DeviceStream.h"

#include <utility>

namespace virtualcam {

void DeviceStream::SetFaults(const ScriptedFaults& faults) {
    std::vector<StreamFaultRule> rules = faults.OfStream(m_Index);
    const Tavix::MutexLock lock(m_Lock);
    m_Channel.SetFaults(std::move(rules));
}

void DeviceStream::SetExtraPayload(std::uint32_t bytes) {
    const Tavix::MutexLock lock(m_Lock);
    m_Channel.SetExtraPayload(bytes);
}

void DeviceStream::Start(const StreamLayout& layout, std::uint32_t largestTransfer) {
    const Tavix::MutexLock lock(m_Lock);
    m_Meter = StreamMeter();
    m_Channel.Start(layout, largestTransfer);
}

void DeviceStream::Stop() {
    const Tavix::MutexLock lock(m_Lock);
    m_Channel.Stop();
}

DeviceStream::Taken DeviceStream::Take(std::uint8_t* buffer, std::size_t room) {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Meter.IsWaiting()) m_Meter.Asked(Clock::Now());
    const PipeAnswer answer = m_Channel.Take(buffer, room);
    const bool wantsFrame = m_Channel.WantsFrame();
    if (answer.status == PipeStatus::Complete)
        m_Meter.Ended(wantsFrame ? StreamMeter::End::Block : StreamMeter::End::Transfer, Clock::Now());
    return {answer, wantsFrame};
}

bool DeviceStream::Begin(const Frame& frame) {
    const Tavix::MutexLock lock(m_Lock);
    if (!m_Channel.WantsFrame()) return false;
    m_Channel.Begin(frame);
    return true;
}

Bytes DeviceStream::Figures() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Meter.Figures();
}

} // namespace virtualcam
