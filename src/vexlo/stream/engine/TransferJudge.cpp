#include "vexlo/stream/engine/TransferJudge.h"

#include "vexlo/UsbStatus.h"

#include <utility>

namespace vexlo {
namespace {

using Role = PlannedTransfer::Role;

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

void LeaveMisplaced(Verdict& verdict, VxStatus damage) {
    verdict.next = Verdict::Next::Leave;
    verdict.cause = RecoveryPolicy::Cause::Misfit;
    verdict.damage = damage;
    verdict.isMisplaced = true;
}

/// What came before the failure is part of the block that is delivered as failed.
void JudgeFailed(PlannedTransfer& transfer, Verdict& verdict) {
    if (transfer.role == Role::Payload) verdict.copiedBytes = transfer.slot->TakePayload(transfer);
    verdict.next = Verdict::Next::Leave;
    verdict.cause = RecoveryPolicy::Cause::Failure;
    verdict.damage = ToStatus(transfer.usb.status);
}

void JudgePayload(PlannedTransfer& transfer, Verdict& verdict) {
    BlockSlot& slot = *transfer.slot;
    const bool outOfPlace =
        !transfer.unread && transfer.EndsShort() && (HoldsTrailerOf(slot, transfer) || HoldsLeader(transfer));
    if (outOfPlace) {
        LeaveMisplaced(verdict, slot.Leader() ? VX_E_INCOMPLETE : VX_E_BAD_LEADER);
    } else {
        verdict.copiedBytes = slot.TakePayload(transfer);
    }
}

} // namespace

[[gnu::hot]] Verdict TransferJudge::Judge(PlannedTransfer& transfer) {
    Verdict verdict;
    if (transfer.usb.status != usb::TransferStatus::Completed) {
        JudgeFailed(transfer, verdict);
    } else if (transfer.role == Role::Leader) {
        JudgeLeader(transfer, verdict);
    } else if (transfer.role == Role::Payload) {
        JudgePayload(transfer, verdict);
    } else if (transfer.role == Role::Trailer) {
        JudgeTrailer(transfer, verdict);
    }
    return verdict;
}

/// True when the transfer brought the trailer that an empty packet had delayed. The block that waited for it is
/// finished in any case.
[[gnu::hot]] bool TransferJudge::TakeLateTrailer(const PlannedTransfer& transfer, Verdict& verdict) {
    if (!m_Late) return false;
    const BlockSlot& slot = *std::exchange(m_Late, nullptr);
    BlockEvidence evidence = slot.Evidence();
    const bool isLate = HoldsTrailerOf(slot, transfer);
    if (isLate) evidence.trailer = DecodeTrailerOf(slot, transfer);
    verdict.ended = evidence;
    return isLate;
}

[[gnu::hot]] void TransferJudge::JudgeLeader(PlannedTransfer& transfer, Verdict& verdict) {
    const bool wasLate = TakeLateTrailer(transfer, verdict);
    transfer.slot->TakeLeader(transfer);
    if (transfer.slot->Leader()) return;
    // A damaged leader still fills its place; the trailer's place will tell whether the rest is where it belongs. Only
    // what no leader can be tells at once that the place is lost. A trailer here ends what was before: this block has
    // not begun.
    const bool isTrailer = wasLate || HoldsTrailerOf(*transfer.slot, transfer);
    if (!IsFull(transfer) && !isTrailer) return;
    LeaveMisplaced(verdict, isTrailer ? VX_OK : VX_E_BAD_LEADER);
}

[[gnu::hot]] void TransferJudge::JudgeTrailer(PlannedTransfer& transfer, Verdict& verdict) {
    BlockSlot& slot = *transfer.slot;
    BlockEvidence evidence = slot.Evidence();
    evidence.trailer = DecodeTrailerOf(slot, transfer);
    if (transfer.usb.actualLength == 0 && evidence.leader) {
        // Some cameras end a full payload with an empty packet that nobody asked for; the trailer comes next then.
        m_Late = &slot;
        verdict.next = Verdict::Next::Again;
        return;
    }
    m_Late = nullptr;
    const bool inPlace = evidence.trailer || (!IsFull(transfer) && !HoldsLeader(transfer));
    if (inPlace) {
        verdict.ended = evidence;
    } else {
        LeaveMisplaced(verdict, evidence.leader ? VX_E_BAD_TRAILER : VX_E_BAD_LEADER);
    }
}

} // namespace vexlo
