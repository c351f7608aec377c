#pragma once
// The device's end of the event channel: a bounded queue of event messages.

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "virtualcam/device/FaultScript.h"
#include "virtualcam/device/endpoint/Pipe.h"

namespace virtualcam {

/// Bound to a thread; its owner locks.
class EventChannel {
public:
    EventChannel(std::size_t packetSize, std::size_t capacity)
        : m_Messages(packetSize), m_MaximumMessage(packetSize), m_Capacity(capacity) {}

    void SetFaults(std::vector<EventFaultRule> rules) { m_Faults = std::move(rules); }
    /// Disabling drops what is queued.
    void Enable(bool on);
    bool IsEnabled() const { return m_Enabled; }
    /// Lets events that the host has not fetched yet share a message.
    void GatherSeveral(bool on) { m_Gather = on; }
    /// Queues an event; false when the channel is disabled or full and the event is lost.
    bool Raise(std::uint16_t id, std::uint64_t timestamp, const Bytes& data);
    /// Queues any bytes as a message, well-formed or not.
    bool RaiseRaw(Bytes message);
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room) { return m_Messages.Take(buffer, room); }
    bool HasMessage() const { return m_Messages.Size() != 0; }
    std::uint64_t Lost() const { return m_Lost; }
    /// True once after the script asked for a halt of the endpoint.
    bool TakeHalt() { return std::exchange(m_HaltDue, false); }

private:
    Pipe m_Messages;
    const std::size_t m_MaximumMessage;
    const std::size_t m_Capacity;
    std::vector<EventFaultRule> m_Faults;
    bool m_Enabled = false;
    bool m_Gather = false;
    bool m_HaltDue = false;
    std::uint16_t m_NextRequest = 0;
    std::uint64_t m_Lost = 0;

    bool AddToLast(const Bytes& entry);
    std::optional<EventFaultRule> NextFault();
    bool RaiseSpoiled(const EventFaultRule& rule, Bytes message);
};

} // namespace virtualcam
