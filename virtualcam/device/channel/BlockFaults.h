#pragma once
// What a script does to the blocks of one stream.

#include "virtualcam/device/FaultScript.h"
#include "virtualcam/device/endpoint/Pipe.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace virtualcam {

/// Counts blocks, and knows the faults of the present one. Bound to a thread; its owner locks.
class BlockFaults {
public:
    /// They count from the next block on.
    void SetRules(std::vector<StreamFaultRule> rules);
    /// Turns to the next block.
    void Begin();

    // Of the present block.
    /// Null when it does not suffer from it.
    const StreamFaultRule* Find(StreamFault fault) const;
    bool Has(StreamFault fault) const { return Find(fault) != nullptr; }
    /// Stall, Error or Gone where the block breaks off after so much of its payload; each fault tells once.
    std::optional<PipeStatus> TakeInterruption(std::size_t sent);
    /// Payload until the next interruption, in whole packets; the largest number for none. Not when one is due.
    std::size_t BytesToInterruption(std::size_t sent, std::size_t packetSize) const;

private:
    std::vector<StreamFaultRule> m_Rules;
    std::uint64_t m_Blocks = 0; // begun since the rules were set
    std::vector<StreamFaultRule> m_Active;
};

} // namespace virtualcam
