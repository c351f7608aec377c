#include "virtualcam/device/channel/BlockFaults.h"

#include <algorithm>
#include <utility>

namespace virtualcam {
namespace {

bool Interrupts(StreamFault fault) {
    return fault == StreamFault::Stall || fault == StreamFault::LineError || fault == StreamFault::Unplug;
}

} // namespace

void BlockFaults::SetRules(std::vector<StreamFaultRule> rules) {
    m_Rules = std::move(rules);
    m_Blocks = 0;
}

void BlockFaults::Begin() {
    m_Active.clear();
    for (const StreamFaultRule& rule : m_Rules)
        if (m_Blocks >= rule.frame && (rule.count == 0 || m_Blocks - rule.frame < rule.count)) m_Active.push_back(rule);
    ++m_Blocks;
}

const StreamFaultRule* BlockFaults::Find(StreamFault fault) const {
    for (const StreamFaultRule& rule : m_Active)
        if (rule.fault == fault) return &rule;
    return nullptr;
}

std::optional<PipeStatus> BlockFaults::TakeInterruption(std::size_t sent) {
    for (auto rule = m_Active.begin(); rule != m_Active.end(); ++rule) {
        if (!Interrupts(rule->fault) || sent < rule->value) continue;
        const StreamFault fault = rule->fault;
        m_Active.erase(rule);
        if (fault == StreamFault::Stall) return PipeStatus::Stall;
        return fault == StreamFault::LineError ? PipeStatus::Error : PipeStatus::Gone;
    }
    return std::nullopt;
}

std::size_t BlockFaults::BytesToInterruption(std::size_t sent, std::size_t packetSize) const {
    std::size_t bytes = SIZE_MAX;
    for (const StreamFaultRule& rule : m_Active)
        if (Interrupts(rule.fault))
            bytes = std::min(bytes, (rule.value - sent + packetSize - 1) / packetSize * packetSize);
    return bytes;
}

} // namespace virtualcam
