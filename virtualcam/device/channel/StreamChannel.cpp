#include "virtualcam/device/channel/StreamChannel.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "virtualcam/device/Protocol.h"

namespace virtualcam {
namespace {

constexpr std::uint16_t kImagePayload = 0x0001;
constexpr std::uint16_t kExtendedChunkPayload = 0x4001;
constexpr std::uint16_t kLeaderSize = 52;
constexpr std::uint16_t kTrailerSize = 32;
constexpr std::uint16_t kChunkTrailerSize = 36;
constexpr int kOldByte = 0x5A;
constexpr std::uint32_t kWrongMagic = 0x58563355; // "U3VX"

bool Interrupts(StreamFault fault) {
    return fault == StreamFault::Stall || fault == StreamFault::LineError || fault == StreamFault::Unplug;
}

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

void StreamChannel::SetFaults(std::vector<StreamFaultRule> rules) {
    m_Faults = std::move(rules);
    m_Blocks = 0;
}

// --- one block

void StreamChannel::Begin(const Frame& frame) {
    ChooseFaults();
    if (const StreamFaultRule* gap = Fault(StreamFault::IdGap)) m_IdOffset += gap->value;
    Frame image = frame;
    image.blockId += m_IdOffset;
    if (const StreamFaultRule* rule = Fault(StreamFault::ShortHeight))
        image.geometry.height = std::min(image.geometry.height, std::max<std::uint32_t>(rule->value, 1));
    const std::uint32_t announced = image.geometry.height;
    if (const StreamFaultRule* rule = Fault(StreamFault::LessLines))
        image.geometry.height = std::min(announced, std::max<std::uint32_t>(rule->value, 1));
    m_Scene.Begin(image.geometry, image.look, image.values.frameId);
    m_ImageBytes = image.geometry.ImageBytes();
    m_Tail = image.chunks.Tail(m_ImageBytes, image.values);
    if (!image.chunks.active) m_Tail.resize(m_Tail.size() + m_ExtraPayload);
    const std::size_t whole = m_ImageBytes + m_Tail.size();
    const bool hasCrc = image.chunks.active && image.chunks.Has(Chunk::PayloadCrc16);
    m_CrcAt = hasCrc ? whole - kCrcChunkSize : 0;
    m_Crc = 0;
    m_PayloadBytes = whole;
    m_PayloadSent = 0;
    const std::uint16_t status = LimitPayload();
    BuildLeader(image, announced);
    BuildTrailer(image, status, m_PayloadBytes);
    m_NextSlot = 0;
    m_LeftOverDue = Fault(StreamFault::LeftOver) != nullptr;
    m_Slot.reset();
    m_InBlock = true;
    ++m_Blocks;
}

// Cuts the payload to what fits and to what is scripted; the block's status.
std::uint16_t StreamChannel::LimitPayload() {
    std::uint16_t status = 0;
    if (m_PayloadBytes > m_Layout.Capacity()) {
        m_PayloadBytes = static_cast<std::size_t>(m_Layout.Capacity());
        status = static_cast<std::uint16_t>(Status::DataOverrun);
    }
    const auto cut = [this](std::size_t bytes) { m_PayloadBytes = std::min(m_PayloadBytes, bytes); };
    if (const StreamFaultRule* rule = Fault(StreamFault::Truncated)) cut(rule->value);
    if (const StreamFaultRule* rule = Fault(StreamFault::Discarded)) {
        cut(rule->value);
        status = static_cast<std::uint16_t>(Status::DataDiscarded);
    }
    if (const StreamFaultRule* rule = Fault(StreamFault::Overrun)) {
        cut(m_PayloadBytes - std::min<std::size_t>(m_PayloadBytes, rule->value));
        status = static_cast<std::uint16_t>(Status::DataOverrun);
    }
    return status;
}

void StreamChannel::BuildLeader(const Frame& frame, std::uint32_t height) {
    const Geometry& geometry = frame.geometry;
    m_Leader.clear();
    Append<std::uint32_t>(m_Leader, Fault(StreamFault::LeaderMagic) ? kWrongMagic : kLeaderMagic);
    Append<std::uint16_t>(m_Leader, 0);
    const StreamFaultRule* longer = Fault(StreamFault::LongLeader);
    const std::size_t size = kLeaderSize + (longer != nullptr ? longer->value : 0);
    Append<std::uint16_t>(m_Leader, static_cast<std::uint16_t>(size));
    Append<std::uint64_t>(m_Leader, frame.blockId);
    Append<std::uint16_t>(m_Leader, 0);
    const StreamFaultRule* type = Fault(StreamFault::PayloadType);
    const std::uint32_t known = frame.chunks.active ? kExtendedChunkPayload : kImagePayload;
    Append<std::uint16_t>(m_Leader, static_cast<std::uint16_t>(type != nullptr ? type->value : known));
    Append<std::uint64_t>(m_Leader, frame.values.timestamp);
    Append<std::uint32_t>(m_Leader, static_cast<std::uint32_t>(geometry.format));
    Append<std::uint32_t>(m_Leader, geometry.width);
    Append<std::uint32_t>(m_Leader, height);
    Append<std::uint32_t>(m_Leader, geometry.offsetX);
    Append<std::uint32_t>(m_Leader, geometry.offsetY);
    Append<std::uint32_t>(m_Leader, 0); // no bytes at the ends of lines, and reserved
    m_Leader.resize(size);
}

void StreamChannel::BuildTrailer(const Frame& frame, std::uint16_t status, std::uint64_t validBytes) {
    // A camera that loses part of its payload unawares still tells the full height.
    const bool unaware = Fault(StreamFault::Truncated) != nullptr;
    const std::uint64_t delivered = validBytes / frame.geometry.LineBytes();
    const std::uint64_t lines =
        unaware ? frame.geometry.height : std::min<std::uint64_t>(frame.geometry.height, delivered);
    m_Trailer.clear();
    Append<std::uint32_t>(m_Trailer, Fault(StreamFault::TrailerMagic) ? kWrongMagic : kTrailerMagic);
    Append<std::uint16_t>(m_Trailer, 0);
    Append<std::uint16_t>(m_Trailer, frame.chunks.active ? kChunkTrailerSize : kTrailerSize);
    Append<std::uint64_t>(m_Trailer, frame.blockId + (Fault(StreamFault::IdMismatch) ? 1 : 0));
    Append<std::uint16_t>(m_Trailer, status);
    Append<std::uint16_t>(m_Trailer, 0);
    Append<std::uint64_t>(m_Trailer, Fault(StreamFault::ZeroValidSize) ? 0 : validBytes);
    Append<std::uint32_t>(m_Trailer, static_cast<std::uint32_t>(lines));
    if (frame.chunks.active) Append<std::uint32_t>(m_Trailer, frame.chunks.LayoutId());
}

// --- transfers of a block

std::uint64_t StreamChannel::PayloadSlots() const {
    const std::uint64_t equal = m_Layout.transferSize != 0 ? m_Layout.transferCount : 0;
    return equal + (m_Layout.final1 != 0 ? 1 : 0) + (m_Layout.final2 != 0 ? 1 : 0);
}

std::size_t StreamChannel::PayloadSlotSize(std::uint64_t index) const {
    const std::uint64_t equal = m_Layout.transferSize != 0 ? m_Layout.transferCount : 0;
    if (index < equal) return m_Layout.transferSize;
    return index == equal && m_Layout.final1 != 0 ? m_Layout.final1 : m_Layout.final2;
}

StreamChannel::Slot StreamChannel::MakeSlot(SlotKind kind, std::size_t bytes, std::size_t programmed) const {
    Slot slot;
    slot.kind = kind;
    slot.bytes = bytes;
    slot.emptyPacketDue = bytes < programmed && bytes % m_PacketSize == 0;
    return slot;
}

StreamChannel::Slot StreamChannel::MakePayloadSlot(std::uint64_t index) const {
    const std::size_t programmed = PayloadSlotSize(index);
    const std::size_t rest = m_PayloadBytes - m_PayloadSent;
    const bool last = rest != 0 && rest <= programmed;
    const std::size_t most = m_LargestTransfer != 0 ? std::min<std::size_t>(programmed, m_LargestTransfer) : programmed;
    Slot slot = MakeSlot(SlotKind::Payload, std::min(most, rest), programmed);
    if (last && Fault(StreamFault::Padding)) {
        slot.bytes = programmed;
        slot.emptyPacketDue = false;
    }
    if (index == 0 && Fault(StreamFault::Overflow)) {
        slot.bytes += m_PacketSize;
        slot.emptyPacketDue = false;
    }
    return slot;
}

// The leader or the trailer; false when it is left out.
bool StreamChannel::MakeEdge(SlotKind kind) {
    const bool leader = kind == SlotKind::Leader;
    if (Fault(leader ? StreamFault::LostLeader : StreamFault::LostTrailer)) return false;
    const bool empty = Fault(leader ? StreamFault::EmptyLeader : StreamFault::EmptyTrailer) != nullptr;
    const std::size_t bytes = leader ? m_Leader.size() : m_Trailer.size();
    m_Slot = MakeSlot(kind, empty ? 0 : bytes, leader ? m_Layout.maximumLeader : m_Layout.maximumTrailer);
    return true;
}

// Turns to the next transfer of the block; false behind the last one.
bool StreamChannel::NextSlot() {
    if (std::exchange(m_LeftOverDue, false)) {
        const std::size_t bytes = Fault(StreamFault::LeftOver)->value;
        m_Slot = MakeSlot(SlotKind::Other, bytes, bytes + 1);
        return true;
    }
    const std::uint64_t last = PayloadSlots() + 1;
    while (m_NextSlot <= last) {
        const std::uint64_t slot = m_NextSlot++;
        if (slot != 0 && slot != last) {
            m_Slot = MakePayloadSlot(slot - 1);
            return true;
        }
        const bool leader = (slot == 0) != (Fault(StreamFault::Swapped) != nullptr);
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
            if (const auto interruption = Interruption()) return {*interruption, answer.bytes};
        }
        std::size_t available = slot.bytes - slot.sent;
        if (available == 0) {
            const bool ends = slot.emptyPacketDue;
            m_Slot.reset();
            if (!ends) continue;
            answer.status = PipeStatus::Complete;
            break;
        }
        if (slot.kind == SlotKind::Payload) available = std::min(available, BytesToInterruption());
        const Portion portion = FitMessage(available, room - answer.bytes, m_PacketSize);
        Fill(slot, buffer + answer.bytes, portion.bytes);
        if (slot.kind == SlotKind::Payload) SkipPayload(portion.consumed - portion.bytes);
        answer.bytes += portion.bytes;
        slot.sent += portion.consumed;
        if (slot.sent == slot.bytes && !slot.emptyPacketDue) m_Slot.reset();
        if (!portion.ends) continue;
        answer.status = portion.overflow ? PipeStatus::Overflow : PipeStatus::Complete;
        break;
    }
    // The end of a block shows with its last transfer, so that the next block can be fetched without asking twice.
    if (m_InBlock && !m_Slot && m_NextSlot > PayloadSlots() + 1) m_InBlock = false;
    return answer;
}

// Faults that break the block off after some of its payload, rounded up to whole packets.
std::optional<PipeStatus> StreamChannel::Interruption() {
    for (auto rule = m_Active.begin(); rule != m_Active.end(); ++rule) {
        if (!Interrupts(rule->fault) || m_PayloadSent < rule->value) continue;
        const StreamFault fault = rule->fault;
        m_Active.erase(rule);
        if (fault == StreamFault::Stall) return PipeStatus::Stall;
        return fault == StreamFault::LineError ? PipeStatus::Error : PipeStatus::Gone;
    }
    return std::nullopt;
}

std::size_t StreamChannel::BytesToInterruption() const {
    std::size_t bytes = SIZE_MAX;
    for (const StreamFaultRule& rule : m_Active)
        if (Interrupts(rule.fault))
            bytes = std::min(bytes, (rule.value - m_PayloadSent + m_PacketSize - 1) / m_PacketSize * m_PacketSize);
    return bytes;
}

// --- bytes

void StreamChannel::Fill(const Slot& slot, std::uint8_t* to, std::size_t count) {
    if (slot.kind == SlotKind::Leader)
        std::memcpy(to, m_Leader.data() + slot.sent, count);
    else if (slot.kind == SlotKind::Trailer)
        std::memcpy(to, m_Trailer.data() + slot.sent, count);
    else if (slot.kind == SlotKind::Other)
        std::memset(to, kOldByte, count);
    else {
        const std::size_t real = std::min(count, m_PayloadBytes - std::min(m_PayloadBytes, m_PayloadSent));
        FillPayload(m_PayloadSent, to, real);
        std::memset(to + real, 0, count - real);
        m_PayloadSent += real;
    }
}

// What a packet lost to an overflow held.
void StreamChannel::SkipPayload(std::size_t count) {
    m_PayloadSent = std::min(m_PayloadBytes, m_PayloadSent + count);
}

void StreamChannel::FillPayload(std::size_t offset, std::uint8_t* to, std::size_t count) {
    const std::size_t ofImage = offset < m_ImageBytes ? std::min(count, m_ImageBytes - offset) : 0;
    m_Scene.Draw(offset, to, ofImage);
    if (m_CrcAt != 0) m_Crc = Crc16(m_Crc, to, ofImage);
    if (ofImage == count) return;
    if (m_CrcAt != 0) SetCrc();
    std::memcpy(to + ofImage, m_Tail.data() + (offset + ofImage - m_ImageBytes), count - ofImage);
}

// The image is drawn and checked; what is missing in the checksum is the tail up to its place.
void StreamChannel::SetCrc() {
    const std::size_t inTail = m_CrcAt - m_ImageBytes;
    m_Crc = Crc16(m_Crc, m_Tail.data(), inTail);
    Store<std::uint32_t>(m_Tail.data() + inTail, m_Crc);
    m_CrcAt = 0;
}

// --- faults

void StreamChannel::ChooseFaults() {
    m_Active.clear();
    for (const StreamFaultRule& rule : m_Faults)
        if (m_Blocks >= rule.frame && (rule.count == 0 || m_Blocks - rule.frame < rule.count)) m_Active.push_back(rule);
}

const StreamFaultRule* StreamChannel::Fault(StreamFault fault) const {
    for (const StreamFaultRule& rule : m_Active)
        if (rule.fault == fault) return &rule;
    return nullptr;
}

} // namespace virtualcam
