// How completed transfers are judged by length and magic before they are believed.

#include "StreamEngine.h"

#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <utility>

namespace vexlo {
namespace {

/// Bytes that are looked through at least before the place is given up; less may be left of an earlier run.
constexpr std::uint64_t kFewestScanned = 256u << 10;

bool IsFull(const PlannedTransfer& transfer) {
    return transfer.usb.actualLength == transfer.usb.length;
}

std::optional<u3v::Trailer> DecodeTrailerOf(const BlockSlot& slot, const PlannedTransfer& transfer) {
    return u3v::DecodeTrailer(transfer.Bytes(), slot.Leader() ? slot.Leader()->payloadType : std::uint16_t(0));
}

/// A trailer that may belong to the block in this slot.
bool HoldsTrailerOf(const BlockSlot& slot, const PlannedTransfer& transfer) {
    if (!u3v::HasTrailerMagic(transfer.Bytes())) return false;
    const auto trailer = DecodeTrailerOf(slot, transfer);
    return trailer && (!slot.Leader() || slot.Leader()->blockId == trailer->blockId);
}

bool HoldsLeader(const PlannedTransfer& transfer) {
    return u3v::HasLeaderMagic(transfer.Bytes()) && u3v::DecodeLeader(transfer.Bytes());
}

} // namespace

/// False when the transfer failed; the plan has been left then.
bool StreamEngine::JudgeStatus(PlannedTransfer& transfer) {
    if (transfer.usb.status == usb::TransferStatus::Completed) return true;
    const VxStatus status = m_IsGone ? VX_E_USB_NO_DEVICE : ToStatus(transfer.usb.status);
    // What came before the failure is part of the block that is delivered as failed.
    if (transfer.role == PlannedTransfer::Role::Payload)
        m_Statistics.copiedBytes += transfer.slot->TakePayload(transfer);
    Leave(status == VX_E_USB_NO_DEVICE ? Reason::Lost : Reason::Restart, status);
    m_ReapedFailure = status;
    return false;
}

void StreamEngine::JudgePlanned(PlannedTransfer& transfer) {
    if (!JudgeStatus(transfer)) return;
    switch (transfer.role) {
    case PlannedTransfer::Role::Leader:
        return JudgeLeader(transfer);
    case PlannedTransfer::Role::Payload:
        return JudgePayload(transfer);
    default:
        return JudgeTrailer(transfer);
    }
}

/// True when the transfer brought the trailer that an empty packet had delayed. The block that waited for it is
/// finished in any case.
bool StreamEngine::TakeLateTrailer(const PlannedTransfer& transfer) {
    if (!m_Late) return false;
    BlockSlot& slot = *std::exchange(m_Late, nullptr);
    BlockEvidence evidence = slot.Evidence();
    const bool isLate = HoldsTrailerOf(slot, transfer);
    if (isLate) evidence.trailer = DecodeTrailerOf(slot, transfer);
    FinishBlock(slot, evidence);
    return isLate;
}

void StreamEngine::JudgeLeader(PlannedTransfer& transfer) {
    const bool wasLate = TakeLateTrailer(transfer);
    transfer.slot->TakeLeader(transfer);
    if (transfer.slot->Leader()) return;
    // A damaged leader still fills its place; the trailer's place will tell whether the rest is where it belongs. Only
    // what no leader can be tells at once that the place is lost. A trailer here ends what was before: this block has
    // not begun.
    const bool isTrailer = wasLate || HoldsTrailerOf(*transfer.slot, transfer);
    if (!IsFull(transfer) && !isTrailer) return;
    Leave(Reason::Resynchronize, isTrailer ? VX_OK : VX_E_BAD_LEADER);
    FeedWith(transfer);
}

void StreamEngine::JudgePayload(PlannedTransfer& transfer) {
    const bool outOfPlace =
        !transfer.unread && transfer.EndsShort() && (HoldsTrailerOf(*transfer.slot, transfer) || HoldsLeader(transfer));
    if (!outOfPlace) {
        m_Statistics.copiedBytes += transfer.slot->TakePayload(transfer);
        return;
    }
    Leave(Reason::Resynchronize, transfer.slot->Leader() ? VX_E_INCOMPLETE : VX_E_BAD_LEADER);
    FeedWith(transfer);
}

void StreamEngine::JudgeTrailer(PlannedTransfer& transfer) {
    BlockSlot& slot = *transfer.slot;
    BlockEvidence evidence = slot.Evidence();
    evidence.trailer = DecodeTrailerOf(slot, transfer);
    if (transfer.usb.actualLength == 0 && evidence.leader) {
        // Some cameras end a full payload with an empty packet that nobody asked for; the trailer comes next then.
        m_Late = &slot;
        if (m_InFlight.IsEmpty()) Submit(transfer);
        return;
    }
    m_Late = nullptr;
    const bool inPlace = evidence.trailer || (!IsFull(transfer) && !HoldsLeader(transfer));
    if (inPlace) return FinishBlock(slot, evidence);
    Leave(Reason::Resynchronize, evidence.leader ? VX_E_BAD_TRAILER : VX_E_BAD_LEADER);
    FeedWith(transfer);
}

void StreamEngine::FinishBlock(BlockSlot& slot, const BlockEvidence& evidence) {
    BufferHandle_s* buffer = slot.Buffer();
    slot.Unbind();
    m_Bound.RemoveFront();
    const CVxStream::GrabResult result = JudgeBlock(evidence);
    if (result.Status == VX_OK) m_RestartsInARow = 0;
    Complete(buffer, result);
    m_Budget.BlockCompleted();
}

void StreamEngine::Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result) {
    m_Statistics.Count(result.Status, result.BlockId);
    if (!m_FirstBlocks.IsDecided()) NoteFirstBlock(result.Status);
    m_Pool.Complete(buffer, result);
}

void StreamEngine::JudgeScan(PlannedTransfer& transfer) {
    if (!JudgeStatus(transfer)) return;
    m_Parser->Feed(transfer.usb.buffer, transfer.usb.actualLength, transfer.EndsShort());
    TakeFound();
    if (m_Parser->GetPlace() == PacketParser::Place::BetweenBlocks) {
        m_Mode = Mode::Planned;
        return;
    }
    // The rest of one block and the whole of the next must show where a block ends, unless the camera fills leader and
    // trailer up so that they cannot be told from payload. An empty packet counts as well: they must not go on for
    // ever.
    m_Scanned += std::max<std::uint64_t>(transfer.usb.actualLength, m_Settings.channel.maxPacketSize);
    if (m_Scanned > std::max(3 * m_Plan.Capacity(), kFewestScanned)) Leave(Reason::Restart, VX_E_RESYNCHRONIZED);
}

} // namespace vexlo
