#include "virtualcam/EventChannel.h"

#include <utility>

#include "virtualcam/Protocol.h"

namespace virtualcam {

void EventChannel::Enable(bool on) {
    m_Enabled = on;
    if (!on) m_Messages.Clear();
}

bool EventChannel::Raise(std::uint16_t id, std::uint64_t timestamp, const Bytes& data) {
    if (!m_Enabled) return false;
    Bytes message;
    Append<std::uint32_t>(message, kEventPrefix);
    Append<std::uint16_t>(message, 0);
    Append<std::uint16_t>(message, kEventCommand);
    Append<std::uint16_t>(message, static_cast<std::uint16_t>(12 + data.size()));
    Append<std::uint16_t>(message, m_NextRequest);
    Append<std::uint16_t>(message, 0);
    Append<std::uint16_t>(message, id);
    Append<std::uint64_t>(message, timestamp);
    message.insert(message.end(), data.begin(), data.end());
    if (!RaiseRaw(std::move(message))) return false;
    ++m_NextRequest;
    return true;
}

bool EventChannel::RaiseRaw(Bytes message) {
    if (!m_Enabled) return false;
    if (m_Messages.Size() >= m_Capacity) {
        ++m_Lost;
        return false;
    }
    m_Messages.Push(std::move(message), /*terminated=*/true);
    return true;
}

} // namespace virtualcam
