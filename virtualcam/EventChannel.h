#pragma once
// The device's end of the event channel: a bounded queue of event messages.

#include <cstdint>

#include "virtualcam/Pipe.h"

namespace virtualcam {

/// Bound to a thread; its owner locks.
class EventChannel {
public:
    EventChannel(std::size_t packetSize, std::size_t capacity) : m_Messages(packetSize), m_Capacity(capacity) {}

    /// Disabling drops what is queued.
    void Enable(bool on);
    bool IsEnabled() const { return m_Enabled; }
    /// Queues a message; false when the channel is disabled or full and the event is lost.
    bool Raise(std::uint16_t id, std::uint64_t timestamp, const Bytes& data);
    /// Queues any bytes as a message, well-formed or not.
    bool RaiseRaw(Bytes message);
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room) { return m_Messages.Take(buffer, room); }
    bool HasMessage() const { return m_Messages.Size() != 0; }
    std::uint64_t Lost() const { return m_Lost; }

private:
    Pipe m_Messages;
    const std::size_t m_Capacity;
    bool m_Enabled = false;
    std::uint16_t m_NextRequest = 0;
    std::uint64_t m_Lost = 0;
};

} // namespace virtualcam
