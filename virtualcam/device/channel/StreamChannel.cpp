#include "virtualcam/device/channel/StreamChannel.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "virtualcam/device/Protocol.h"
#include "virtualcam/device/channel/BlockEdges.h"

namespace virtualcam {
namespace {

constexpr int kOldByte = 0x5A;

} // namespace

void StreamChannel::Start(const StreamLayout& layout, std::uint32_t largestTransfer) {
    m_Layout = layout;
    m_LargestTransfer = largestTransfer;
    m_On = true;
    m_InBlock = false;
    m_IdOffset = 0;
}

void StreamChannel::Stop() {
    m_On = false;
    m_InBlock = false;
    m_Slot.reset();
}

// --- one block

void StreamChannel::Begin(const Frame& frame) {
    m_Faults.Begin();
    if (const StreamFaultRule* gap = m_Faults.Find(StreamFault::IdGap)) m_IdOffset += gap->value;
    Frame image = frame;
    image.blockId += m_IdOffset;
    if (const StreamFaultRule* rule = m_Faults.Find(StreamFault::ShortHeight))
        image.geometry.height = std::min(image.geometry.height, std::max<std::uint32_t>(rule->value, 1));
    const std::uint32_t announced = image.geometry.height;
    if (const StreamFaultRule* rule = m_Faults.Find(StreamFault::LessLines))
        image.geometry.height = std::min(announced, std::max<std::uint32_t>(rule->value, 1));
    m_Payload.Begin(image, m_ExtraPayload);
    const std::uint16_t status = LimitPayload();
    WriteLeader(m_Leader, image, announced, m_Faults);
    WriteTrailer(m_Trailer, image, status, m_Payload.Size(), m_Faults);
    m_NextSlot = 0;
    m_LeftOverDue = m_Faults.Has(StreamFault::LeftOver);
    m_Slot.reset();
    m_InBlock = true;
}

// Cuts the payload to what fits and to what is scripted; the block's status.
std::uint16_t StreamChannel::LimitPayload() {
    std::uint16_t status = 0;
    if (m_Payload.Size() > m_Layout.Capacity()) {
        m_Payload.Cut(static_cast<std::size_t>(m_Layout.Capacity()));
        status = static_cast<std::uint16_t>(Status::DataOverrun);
    }
    if (const StreamFaultRule* rule = m_Faults.Find(StreamFault::Truncated)) m_Payload.Cut(rule->value);
    if (const StreamFaultRule* rule = m_Faults.Find(StreamFault::Discarded)) {
        m_Payload.Cut(rule->value);
        status = static_cast<std::uint16_t>(Status::DataDiscarded);
    }
    if (const StreamFaultRule* rule = m_Faults.Find(StreamFault::Overrun)) {
        m_Payload.Cut(m_Payload.Size() - std::min<std::size_t>(m_Payload.Size(), rule->value));
        status = static_cast<std::uint16_t>(Status::DataOverrun);
    }
    return status;
}

// --- transfers of a block

StreamChannel::Slot StreamChannel::MakeSlot(SlotKind kind, std::size_t bytes, std::size_t programmed) const {
    Slot slot;
    slot.kind = kind;
    slot.bytes = bytes;
    slot.emptyPacketDue = bytes < programmed && bytes % m_PacketSize == 0;
    return slot;
}

StreamChannel::Slot StreamChannel::MakePayloadSlot(std::uint64_t index) const {
    const std::size_t programmed = m_Layout.TransferSize(index);
    const std::size_t rest = m_Payload.Rest();
    const bool last = rest != 0 && rest <= programmed;
    const std::size_t most = m_LargestTransfer != 0 ? std::min<std::size_t>(programmed, m_LargestTransfer) : programmed;
    Slot slot = MakeSlot(SlotKind::Payload, std::min(most, rest), programmed);
    if (last && m_Faults.Has(StreamFault::Padding)) {
        slot.bytes = programmed;
        slot.emptyPacketDue = false;
    }
    if (index == 0 && m_Faults.Has(StreamFault::Overflow)) {
        slot.bytes += m_PacketSize;
        slot.emptyPacketDue = false;
    }
    return slot;
}

// The leader or the trailer; false when it is left out.
bool StreamChannel::MakeEdge(SlotKind kind) {
    const bool leader = kind == SlotKind::Leader;
    if (m_Faults.Has(leader ? StreamFault::LostLeader : StreamFault::LostTrailer)) return false;
    const bool empty = m_Faults.Has(leader ? StreamFault::EmptyLeader : StreamFault::EmptyTrailer);
    const std::size_t bytes = leader ? m_Leader.size() : m_Trailer.size();
    m_Slot = MakeSlot(kind, empty ? 0 : bytes, leader ? m_Layout.maximumLeader : m_Layout.maximumTrailer);
    return true;
}

// Turns to the next transfer of the block; false behind the last one.
bool StreamChannel::NextSlot() {
    if (std::exchange(m_LeftOverDue, false)) {
        const std::size_t bytes = m_Faults.Find(StreamFault::LeftOver)->value;
        m_Slot = MakeSlot(SlotKind::Other, bytes, bytes + 1);
        return true;
    }
    const std::uint64_t last = m_Layout.Transfers() + 1;
    while (m_NextSlot <= last) {
        const std::uint64_t slot = m_NextSlot++;
        if (slot != 0 && slot != last) {
            m_Slot = MakePayloadSlot(slot - 1);
            return true;
        }
        const bool leader = (slot == 0) != m_Faults.Has(StreamFault::Swapped);
        if (MakeEdge(leader ? SlotKind::Leader : SlotKind::Trailer)) return true;
    }
    return false;
}

PipeAnswer StreamChannel::Take(std::uint8_t* buffer, std::size_t room) {
    PipeAnswer answer;
    while (m_InBlock) {
        if (!m_Slot && !NextSlot()) {
            m_InBlock = false;
            break;
        }
        Slot& slot = *m_Slot;
        if (slot.kind == SlotKind::Payload) {
            if (const auto interruption = m_Faults.TakeInterruption(m_Payload.Sent()))
                return {*interruption, answer.bytes};
        }
        std::size_t available = slot.bytes - slot.sent;
        if (available == 0) {
            const bool ends = slot.emptyPacketDue;
            m_Slot.reset();
            if (!ends) continue;
            answer.status = PipeStatus::Complete;
            break;
        }
        if (slot.kind == SlotKind::Payload)
            available = std::min(available, m_Faults.BytesToInterruption(m_Payload.Sent(), m_PacketSize));
        const Portion portion = FitMessage(available, room - answer.bytes, m_PacketSize);
        Fill(slot, buffer + answer.bytes, portion.bytes);
        if (slot.kind == SlotKind::Payload) m_Payload.Skip(portion.consumed - portion.bytes); // lost to an overflow
        answer.bytes += portion.bytes;
        slot.sent += portion.consumed;
        if (slot.sent == slot.bytes && !slot.emptyPacketDue) m_Slot.reset();
        if (!portion.ends) continue;
        answer.status = portion.overflow ? PipeStatus::Overflow : PipeStatus::Complete;
        break;
    }
    // The end of a block shows with its last transfer, so that the next block can be fetched without asking twice.
    if (m_InBlock && !m_Slot && m_NextSlot > m_Layout.Transfers() + 1) m_InBlock = false;
    return answer;
}

void StreamChannel::Fill(const Slot& slot, std::uint8_t* to, std::size_t count) {
    if (slot.kind == SlotKind::Leader)
        std::memcpy(to, m_Leader.data() + slot.sent, count);
    else if (slot.kind == SlotKind::Trailer)
        std::memcpy(to, m_Trailer.data() + slot.sent, count);
    else if (slot.kind == SlotKind::Other)
        std::memset(to, kOldByte, count);
    else
        m_Payload.Take(to, count);
}

} // namespace virtualcam
