#include "virtualcam/device/channel/EventChannel.h"

#include <algorithm>

#include "virtualcam/device/Protocol.h"

namespace virtualcam {
namespace {

constexpr std::size_t kLengthAt = 8;
constexpr std::size_t kEntrySizeAt = kHeaderSize;

Bytes Entry(std::uint16_t size, std::uint16_t id, std::uint64_t timestamp, const Bytes& data) {
    Bytes entry;
    Append<std::uint16_t>(entry, size);
    Append<std::uint16_t>(entry, id);
    Append<std::uint64_t>(entry, timestamp);
    entry.insert(entry.end(), data.begin(), data.end());
    return entry;
}

Bytes Message(std::uint16_t request, const Bytes& entry) {
    Bytes message;
    Append<std::uint32_t>(message, kEventPrefix);
    Append<std::uint16_t>(message, 0);
    Append<std::uint16_t>(message, kEventCommand);
    Append<std::uint16_t>(message, static_cast<std::uint16_t>(entry.size()));
    Append<std::uint16_t>(message, request);
    message.insert(message.end(), entry.begin(), entry.end());
    return message;
}

void SetLength(Bytes& message, std::size_t length) {
    Store<std::uint16_t>(message.data() + kLengthAt, static_cast<std::uint16_t>(length));
}

} // namespace

void EventChannel::Enable(bool on) {
    m_Enabled = on;
    if (!on) m_Messages.Clear();
}

// The size of an entry is told where several may share a message, and only there.
bool EventChannel::Raise(std::uint16_t id, std::uint64_t timestamp, const Bytes& data) {
    if (!m_Enabled) return false;
    const std::size_t size = 12 + data.size();
    const Bytes entry = Entry(static_cast<std::uint16_t>(m_Gather ? size : 0), id, timestamp, data);
    if (const auto rule = NextFault()) return RaiseSpoiled(*rule, Message(m_NextRequest++, entry));
    if (m_Gather && AddToLast(entry)) return true;
    if (!RaiseRaw(Message(m_NextRequest, entry))) return false;
    ++m_NextRequest;
    return true;
}

bool EventChannel::AddToLast(const Bytes& entry) {
    Bytes* const last = m_Messages.FindUntouched();
    if (!last || last->size() + entry.size() >= m_MaximumMessage) return false;
    last->insert(last->end(), entry.begin(), entry.end());
    SetLength(*last, last->size() - kHeaderSize);
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

// --- scripted faults

std::optional<EventFaultRule> EventChannel::NextFault() {
    for (auto rule = m_Faults.begin(); rule != m_Faults.end(); ++rule) {
        if (rule->skip != 0) {
            --rule->skip;
            continue;
        }
        const EventFaultRule hit = *rule;
        if (hit.count != 0 && --rule->count == 0) m_Faults.erase(rule);
        return hit;
    }
    return std::nullopt;
}

bool EventChannel::RaiseSpoiled(const EventFaultRule& rule, Bytes message) {
    std::uint32_t times = 1;
    switch (rule.fault) {
    case EventFault::Lost:
        return false;
    case EventFault::Halt:
        m_HaltDue = true;
        return false;
    case EventFault::Duplicate:
        times = 2;
        break;
    case EventFault::Burst:
        times = rule.value;
        break;
    case EventFault::WrongPrefix:
        Store<std::uint32_t>(message.data(), kEventPrefix ^ 0xFF);
        break;
    case EventFault::Truncated:
        message.resize(std::min<std::size_t>(message.size(), rule.value));
        break;
    case EventFault::WrongLength:
        SetLength(message, message.size() - kHeaderSize + rule.value);
        break;
    case EventFault::WrongEntrySize:
        Store<std::uint16_t>(message.data() + kEntrySizeAt, static_cast<std::uint16_t>(rule.value));
        break;
    case EventFault::MaximumLength:
        message.resize(m_MaximumMessage);
        SetLength(message, message.size() - kHeaderSize);
        break;
    }
    bool queued = false;
    for (std::uint32_t i = 0; i < times && m_Messages.Size() < m_Capacity; ++i)
        queued = RaiseRaw(message) || queued;
    return queued;
}

} // namespace virtualcam
