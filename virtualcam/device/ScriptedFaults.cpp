#include "virtualcam/device/ScriptedFaults.h"

#include <algorithm>
#include <iterator>

namespace virtualcam {

std::vector<StreamFaultRule> ScriptedFaults::OfStream(unsigned stream) const {
    std::vector<StreamFaultRule> rules;
    std::copy_if(m_Script.stream.begin(), m_Script.stream.end(), std::back_inserter(rules),
                 [stream](const StreamFaultRule& rule) { return rule.stream.value_or(stream) == stream; });
    return rules;
}

std::optional<Status> ScriptedFaults::RefusesStream() {
    if (!CountDown(m_Script.refuseStreamEnable)) return std::nullopt;
    return static_cast<Status>(m_Script.streamEnableStatus);
}

void ScriptedFaults::EndRules() {
    m_Script.control.clear();
    m_Script.stream.clear();
    m_Script.events.clear();
}

std::optional<std::chrono::milliseconds> ScriptedFaults::ReplugPause() const {
    if (m_Script.replugAfterMs < 0) return std::nullopt;
    return std::chrono::milliseconds(m_Script.replugAfterMs);
}

} // namespace virtualcam
