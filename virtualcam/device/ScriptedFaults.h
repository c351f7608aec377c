#pragma once
// The faults of a device that are still to come.

#include <chrono>
#include <optional>
#include <vector>

#include "virtualcam/device/FaultScript.h"
#include "virtualcam/device/Protocol.h"

namespace virtualcam {

/// A script, and how far it has come. Rules of the channels are counted by the channels. Bound to a thread; its owner
/// locks.
class ScriptedFaults {
public:
    explicit ScriptedFaults(const FaultScript& script) : m_Script(script) {}

    const FaultScript& Script() const { return m_Script; }
    /// The rules about that stream, or about all.
    std::vector<StreamFaultRule> OfStream(unsigned stream) const;

    /// True when the open, or claim, is to be refused; counts it.
    bool RefusesOpen() { return CountDown(m_Script.refuseOpens); }
    bool RefusesClaim() { return CountDown(m_Script.refuseClaims); }
    /// With what stream enable is to be refused; counts it.
    std::optional<Status> RefusesStream();
    /// The device leaves: what is scripted happens once, not again after coming back.
    void EndRules();
    /// After what time it comes back then, if at all.
    std::optional<std::chrono::milliseconds> ReplugPause() const;

private:
    static bool CountDown(unsigned& count) { return count != 0 && count-- != 0; }

    FaultScript m_Script;
};

} // namespace virtualcam
