#include "vexlo/stream/block/BlockSlot.h"

#include <algorithm>
#include <cstring>

namespace vexlo {

using Role = PlannedTransfer::Role;

BlockSlot::BlockSlot(const u3v::TransferPlan& plan, std::uint8_t endpoint, std::uint8_t* dump)
    : m_LeaderBytes(new std::uint8_t[plan.leaderSize]), m_TrailerBytes(new std::uint8_t[plan.trailerSize]),
      m_Bounce(new std::uint8_t[plan.LongestPayload()]), m_Dump(dump) {
    m_Transfers.reserve(plan.PayloadTransfers() + 2);
    AddTransfer(Role::Leader, 0, plan.leaderSize, endpoint);
    std::uint64_t offset = 0;
    const auto addPayload = [&](std::uint32_t size) {
        if (size == 0) return;
        AddTransfer(Role::Payload, offset, size, endpoint);
        offset += size;
    };
    for (std::uint32_t i = 0; i < plan.payloadCount; ++i)
        addPayload(plan.payloadSize);
    addPayload(plan.final1Size);
    addPayload(plan.final2Size);
    AddTransfer(Role::Trailer, 0, plan.trailerSize, endpoint);
    for (PlannedTransfer& transfer : m_Transfers)
        transfer.slot = this;
}

void BlockSlot::AddTransfer(Role role, std::uint64_t offset, std::size_t length, std::uint8_t endpoint) {
    PlannedTransfer transfer;
    transfer.role = role;
    transfer.offset = offset;
    transfer.usb.endpoint = endpoint;
    transfer.usb.length = length;
    transfer.cost = length;
    m_Transfers.push_back(transfer);
}

std::uint8_t* BlockSlot::Place(const PlannedTransfer& transfer) {
    if (transfer.role == Role::Leader) return m_LeaderBytes.get();
    if (transfer.role == Role::Trailer) return m_TrailerBytes.get();
    if (transfer.offset + transfer.usb.length <= m_Buffer->size) return m_Buffer->data + transfer.offset;
    if (transfer.offset >= m_Buffer->size) return m_Dump;
    return m_Bounce.get();
}

void BlockSlot::Begin() {
    m_Leader.reset();
    m_Received = 0;
    m_Ended = false;
}

void BlockSlot::LeadOff() {
    Begin();
    m_LedOff = true;
    m_Transfers.front().usb.buffer = m_LeaderBytes.get();
}

[[gnu::hot]] void BlockSlot::Bind(BufferHandle_s* buffer) {
    m_Buffer = buffer;
    if (!m_LedOff) Begin();
    for (PlannedTransfer& transfer : m_Transfers) {
        if (m_LedOff && transfer.role == Role::Leader) continue; // the bus may have it
        transfer.usb.buffer = Place(transfer);
        transfer.unread = transfer.usb.buffer == m_Dump;
        const bool isDirect = transfer.role == Role::Payload && transfer.usb.buffer == buffer->data + transfer.offset;
        transfer.cost = isDirect && buffer->memory == BufferMemory::Mapped ? 0 : transfer.usb.length;
        transfer.usb.actualLength = 0;
        transfer.done = false;
    }
    m_LedOff = false;
}

[[gnu::hot]] void BlockSlot::Unbind() {
    m_Buffer = nullptr;
    m_LedOff = false;
}

[[gnu::hot]] std::uint64_t BlockSlot::TakePayload(const PlannedTransfer& transfer) {
    if (m_Ended) return 0;
    m_Received = transfer.offset + transfer.usb.actualLength;
    m_Ended = transfer.usb.actualLength < transfer.usb.length;
    if (transfer.usb.buffer != m_Bounce.get()) return 0;
    const std::uint64_t room = m_Buffer->size - transfer.offset;
    const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(room, transfer.usb.actualLength));
    std::memcpy(m_Buffer->data + transfer.offset, m_Bounce.get(), count);
    return count;
}

[[gnu::hot]] BlockEvidence BlockSlot::Evidence() const {
    BlockEvidence evidence;
    evidence.leader = m_Leader;
    evidence.received = m_Received;
    evidence.bufferSize = m_Buffer->size;
    return evidence;
}

} // namespace vexlo
