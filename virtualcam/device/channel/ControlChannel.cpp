#include "virtualcam/device/channel/ControlChannel.h"

#include <algorithm>
#include <utility>

namespace virtualcam {
namespace {

constexpr std::size_t kMaximumQueued = 32;
constexpr std::size_t kReadCommandSize = 12;
constexpr std::size_t kAddressSize = 8;

Bytes Acknowledge(Status status, std::uint16_t commandId, std::uint16_t request, std::size_t length = 0) {
    Bytes packet(kHeaderSize + length);
    Store<std::uint32_t>(packet.data(), kControlPrefix);
    Store<std::uint16_t>(packet.data() + 4, static_cast<std::uint16_t>(status));
    Store<std::uint16_t>(packet.data() + 6, static_cast<std::uint16_t>(commandId | 1));
    Store<std::uint16_t>(packet.data() + 8, static_cast<std::uint16_t>(length));
    Store<std::uint16_t>(packet.data() + 10, request);
    return packet;
}

Bytes WriteAcknowledge(Status status, std::uint16_t request, std::uint16_t written) {
    Bytes packet = Acknowledge(status, kWriteMem, request, 4);
    Store<std::uint16_t>(packet.data() + 14, written);
    return packet;
}

} // namespace

std::optional<std::uint64_t> ControlChannel::Command::Address() const {
    if (length < kAddressSize || (id != kReadMem && id != kWriteMem)) return std::nullopt;
    return Load<std::uint64_t>(data);
}

CommandEffect ControlChannel::Receive(const std::uint8_t* data, std::size_t length, TimePoint now) {
    if (m_Acknowledges.Size() >= kMaximumQueued) {
        CommandEffect later;
        later.accepted = false;
        return later;
    }
    if (m_Deaf || now < m_Limits.awake) return {};
    if (length < kHeaderSize || Load<std::uint32_t>(data) != kControlPrefix) return {};
    const Command command{Load<std::uint16_t>(data + 4), Load<std::uint16_t>(data + 6), Load<std::uint16_t>(data + 10),
                          data + kHeaderSize, Load<std::uint16_t>(data + 8)};
    if (command.length != length - kHeaderSize) return {};
    ++m_Commands;
    if (m_Active) {
        if (command.request == m_Active->request)
            PushPending(command.request, PendingPeriod());
        else
            m_Acknowledges.Push(Acknowledge(Status::Busy, command.id, command.request));
        return {};
    }
    if (command.request != 0 && m_LastCommand.size() == length &&
        std::equal(data, data + length, m_LastCommand.begin())) {
        m_Acknowledges.Push(m_LastAcknowledge);
        return {};
    }
    m_LastCommand.clear();
    if (const auto rule = NextFault(command)) return FinishWith(*rule, command, now);
    Bytes acknowledge = Execute(command);
    if ((command.flags & kFlagRequestAck) == 0) return {};
    m_LastCommand.assign(data, data + length);
    m_LastAcknowledge = acknowledge;
    Finish(command, std::move(acknowledge), now);
    return {};
}

void ControlChannel::Revive() {
    m_IsDead = false;
    Abort();
}

void ControlChannel::Abort() {
    m_Deaf = m_IsDead;
    m_Active.reset();
    m_Acknowledges.Clear();
    m_LastCommand.clear();
}

// --- executing

Bytes ControlChannel::Execute(const Command& command) {
    m_Delay = 0;
    if ((command.flags & kFlagResend) != 0) return Acknowledge(Status::ResendNotSupported, command.id, command.request);
    if (command.id == kReadMem) return ReadMem(command);
    if (command.id == kWriteMem) return WriteMem(command);
    return Acknowledge(Status::NotImplemented, command.id, command.request);
}

Bytes ControlChannel::ReadMem(const Command& command) {
    if (command.length != kReadCommandSize || Load<std::uint16_t>(command.data + 8) != 0)
        return Acknowledge(Status::InvalidParameter, command.id, command.request);
    const std::size_t count = Load<std::uint16_t>(command.data + 10);
    const bool tooLong = m_Limits.largestRead != 0 && count > m_Limits.largestRead;
    if (count == 0 || count + kHeaderSize > m_Limits.maximumAcknowledge || tooLong)
        return Acknowledge(Status::InvalidParameter, command.id, command.request);
    if (m_Limits.singleRegisterReads && !m_Registers.IsWithinOne(*command.Address(), count))
        return Acknowledge(Status::InvalidAddress, command.id, command.request);
    Bytes packet = Acknowledge(Status::Success, command.id, command.request, count);
    const Status status = m_Registers.Read(*command.Address(), packet.data() + kHeaderSize, count);
    return status == Status::Success ? packet : Acknowledge(status, command.id, command.request);
}

Bytes ControlChannel::WriteMem(const Command& command) {
    const bool tooLong = command.length + kHeaderSize > m_Limits.maximumCommand;
    if (command.length <= kAddressSize || command.request == 0 || tooLong)
        return WriteAcknowledge(Status::InvalidParameter, command.request, 0);
    const std::size_t count = command.length - kAddressSize;
    const Status status = m_Registers.Write(*command.Address(), command.data + kAddressSize, count);
    return WriteAcknowledge(status, command.request, static_cast<std::uint16_t>(status == Status::Success ? count : 0));
}

void ControlChannel::Finish(const Command& command, Bytes acknowledge, TimePoint now) {
    if (m_Delay == 0) {
        m_Acknowledges.Push(std::move(acknowledge));
        return;
    }
    Active active;
    active.request = command.request;
    active.acknowledge = std::move(acknowledge);
    active.due = now + milliseconds(m_Delay);
    if (m_Delay > m_Limits.responseTime) active.nextPending = now + milliseconds(PendingPeriod() / 2);
    m_Active = std::move(active);
}

// --- time

std::uint32_t ControlChannel::PendingPeriod() const {
    return std::clamp<std::uint32_t>(m_Limits.responseTime, 20, 0xFFFF);
}

void ControlChannel::PushPending(std::uint16_t request, std::uint32_t ms) {
    Bytes packet = Acknowledge(Status::Success, kPendingAck, request, 4);
    Store<std::uint16_t>(packet.data() + 14, static_cast<std::uint16_t>(ms));
    m_Acknowledges.Push(std::move(packet));
}

std::optional<TimePoint> ControlChannel::Deadline() const {
    if (!m_Active) return std::nullopt;
    return Earlier(m_Active->due, m_Active->nextPending);
}

bool ControlChannel::RunTimers(TimePoint now) {
    if (!m_Active) return false;
    if (now >= m_Active->due) {
        const bool silent = m_Active->acknowledge.empty();
        if (!silent) m_Acknowledges.Push(std::move(m_Active->acknowledge));
        m_Active.reset();
        return !silent;
    }
    if (!m_Active->nextPending || now < *m_Active->nextPending) return false;
    PushPending(m_Active->request, PendingPeriod());
    m_Active->nextPending = now + milliseconds(PendingPeriod() / 2);
    return true;
}

// --- scripted faults

bool ControlChannel::Hits(const ControlFaultRule& rule, const Command& command) const {
    if (rule.command && *rule.command != command.id) return false;
    if (rule.address && rule.address != command.Address()) return false;
    return !rule.whileStreaming || IsStreaming();
}

bool ControlChannel::IsStreaming() const {
    for (unsigned stream = 0; stream < kMaximumStreams; ++stream) {
        const std::uint64_t control = sirm::Of(stream, sirm::kControl);
        if (m_Registers.Has(control) && m_Registers.Get<std::uint32_t>(control) != 0) return true;
    }
    return false;
}

std::optional<ControlFaultRule> ControlChannel::NextFault(const Command& command) {
    for (auto rule = m_Faults.begin(); rule != m_Faults.end(); ++rule) {
        if (!Hits(*rule, command)) continue;
        if (rule->skip != 0) {
            --rule->skip;
            continue;
        }
        const ControlFaultRule hit = *rule;
        if (hit.count != 0 && --rule->count == 0) m_Faults.erase(rule);
        return hit;
    }
    return std::nullopt;
}

CommandEffect ControlChannel::FinishWith(const ControlFaultRule& rule, const Command& command, TimePoint now) {
    CommandEffect effect;
    switch (rule.fault) {
    case ControlFault::Busy:
        m_Acknowledges.Push(Acknowledge(Status::Busy, command.id, command.request));
        return effect;
    case ControlFault::Status:
        m_Acknowledges.Push(Acknowledge(static_cast<Status>(rule.value), command.id, command.request));
        return effect;
    case ControlFault::StallOut:
        effect.haltOut = true;
        return effect;
    case ControlFault::Deaf:
        m_Deaf = true;
        m_IsDead = rule.value != 0;
        return effect;
    case ControlFault::Unplug:
        effect.unplug = true;
        return effect;
    default:
        return FinishExecuted(rule, command, now);
    }
}

// Faults of a command that has been executed: they are in its acknowledge.
CommandEffect ControlChannel::FinishExecuted(const ControlFaultRule& rule, const Command& command, TimePoint now) {
    CommandEffect effect;
    Bytes acknowledge = Execute(command);
    switch (rule.fault) {
    case ControlFault::StallIn:
        effect.haltIn = true;
        return effect;
    case ControlFault::NoAnswer:
        return effect;
    case ControlFault::EmptyAnswer:
        m_Acknowledges.Push({});
        return effect;
    case ControlFault::Late:
    case ControlFault::Pending:
    case ControlFault::PendingThenNothing:
        FinishPending(rule, command, std::move(acknowledge), now);
        return effect;
    default:
        SpoilAcknowledge(rule, command, acknowledge);
        Finish(command, std::move(acknowledge), now);
        return effect;
    }
}

void ControlChannel::SpoilAcknowledge(const ControlFaultRule& rule, const Command& command, Bytes& acknowledge) {
    switch (rule.fault) {
    case ControlFault::StaleId: {
        Bytes stale = acknowledge;
        Store<std::uint16_t>(stale.data() + 10, static_cast<std::uint16_t>(command.request - 1));
        m_Acknowledges.Push(std::move(stale));
        break;
    }
    case ControlFault::Duplicate:
        m_Acknowledges.Push(acknowledge);
        break;
    case ControlFault::WrongPrefix:
        Store<std::uint32_t>(acknowledge.data(), kControlPrefix ^ 0xFF);
        break;
    case ControlFault::Truncated:
        acknowledge.resize(std::min<std::size_t>(acknowledge.size(), rule.value));
        break;
    case ControlFault::WrongRequestId:
        Store<std::uint16_t>(acknowledge.data() + 10, static_cast<std::uint16_t>(command.request + 0x100));
        break;
    case ControlFault::WrongCommandId:
        Store<std::uint16_t>(acknowledge.data() + 6, static_cast<std::uint16_t>((command.id ^ 0x0002) | 1));
        break;
    case ControlFault::MissingScd:
        if (command.id == kWriteMem) acknowledge = Acknowledge(Status::Success, command.id, command.request);
        break;
    case ControlFault::ZeroWritten:
        if (command.id == kWriteMem) acknowledge = WriteAcknowledge(Status::Success, command.request, 0);
        break;
    case ControlFault::ZeroLength:
        m_Acknowledges.Push({});
        break;
    case ControlFault::Oversize:
        acknowledge.resize(acknowledge.size() + rule.value, 0xEE);
        break;
    default:
        break;
    }
}

void ControlChannel::FinishPending(const ControlFaultRule& rule, const Command& command, Bytes acknowledge,
                                   TimePoint now) {
    Active active;
    active.request = command.request;
    active.due = now + milliseconds(rule.fault == ControlFault::Late ? rule.value : 10);
    if (rule.fault != ControlFault::PendingThenNothing) active.acknowledge = std::move(acknowledge);
    const std::uint32_t pendings = rule.fault == ControlFault::Pending              ? rule.value
                                   : rule.fault == ControlFault::PendingThenNothing ? 1
                                                                                    : 0;
    for (std::uint32_t i = 0; i < pendings; ++i)
        PushPending(command.request, PendingPeriod());
    m_Active = std::move(active);
}

} // namespace virtualcam
