#pragma once
// The device's end of the control channel: commands in, acknowledges out.

#include <cstdint>
#include <optional>
#include <vector>

#include "virtualcam/device/FaultScript.h"
#include "virtualcam/device/endpoint/Pipe.h"
#include "virtualcam/firmware/Clock.h"
#include "virtualcam/firmware/RegisterSpace.h"

namespace virtualcam {

struct ControlLimits {
    std::size_t packetSize = 1024;
    std::uint32_t maximumCommand = 0;
    std::uint32_t maximumAcknowledge = 0;
    std::uint32_t responseTime = 0; ///< ms
    std::uint32_t largestRead = 0;  ///< bytes; 0: what the acknowledge holds
    bool singleRegisterReads = false;
    TimePoint awake{}; ///< nothing is answered before
};

/// What a command did to the channel itself.
struct CommandEffect {
    bool accepted = true; ///< false: no room for another acknowledge, offer the command again later
    bool haltIn = false;
    bool haltOut = false;
    bool unplug = false;
};

/// Executes commands on a register space and queues acknowledges. One command at a time; a slow one is answered from
/// RunTimers. Bound to a thread; its owner locks.
class ControlChannel {
public:
    ControlChannel(RegisterSpace& registers, const ControlLimits& limits)
        : m_Registers(registers), m_Limits(limits), m_Acknowledges(limits.packetSize) {}

    void SetFaults(std::vector<ControlFaultRule> rules) { m_Faults = std::move(rules); }
    /// Takes one OUT transfer. What is no well-formed command is dropped without an answer.
    CommandEffect Receive(const std::uint8_t* data, std::size_t length, TimePoint now);
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room) { return m_Acknowledges.Take(buffer, room); }
    /// Forgets the command being worked on and all acknowledges: an endpoint was halted.
    void Abort();
    /// The port was reset.
    void Revive();

    /// Called by a register's hook while its write is executed: the acknowledge is to take this long.
    void DelayAcknowledge(std::uint32_t ms) { m_Delay = ms; }
    std::optional<TimePoint> Deadline() const;
    /// Sends what has become due; true when there is something new to take.
    bool RunTimers(TimePoint now);
    std::uint64_t Commands() const { return m_Commands; }

private:
    struct Command {
        std::uint16_t flags, id, request;
        const std::uint8_t* data; ///< the specific data
        std::size_t length;       ///< bytes of it
        std::optional<std::uint64_t> Address() const;
    };
    /// A command whose acknowledge is yet to come.
    struct Active {
        std::uint16_t request = 0;
        Bytes acknowledge; ///< empty: silence at the end
        TimePoint due;
        std::optional<TimePoint> nextPending;
    };

    RegisterSpace& m_Registers;
    const ControlLimits m_Limits;
    Pipe m_Acknowledges;
    std::vector<ControlFaultRule> m_Faults;
    std::optional<Active> m_Active;
    bool m_Deaf = false;
    bool m_IsDead = false; ///< deaf until the port is reset
    std::uint32_t m_Delay = 0;
    std::uint64_t m_Commands = 0;
    Bytes m_LastCommand;
    Bytes m_LastAcknowledge;

    bool Hits(const ControlFaultRule& rule, const Command& command) const;
    bool IsStreaming() const;
    std::optional<ControlFaultRule> NextFault(const Command& command);
    Bytes Execute(const Command& command);
    Bytes ReadMem(const Command& command);
    Bytes WriteMem(const Command& command);
    void Finish(const Command& command, Bytes acknowledge, TimePoint now);
    CommandEffect FinishWith(const ControlFaultRule& rule, const Command& command, TimePoint now);
    void SpoilAcknowledge(const ControlFaultRule& rule, const Command& command, Bytes& acknowledge);
    CommandEffect FinishExecuted(const ControlFaultRule& rule, const Command& command, TimePoint now);
    void FinishPending(const ControlFaultRule& rule, const Command& command, Bytes acknowledge, TimePoint now);
    void PushPending(std::uint16_t request, std::uint32_t ms);
    std::uint32_t PendingPeriod() const;
};

} // namespace virtualcam
