// What the stream's loop does while the plan is left.

#include "vexlo/stream/engine/StreamEngine.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace vexlo {

void StreamEngine::Search(PlannedTransfer& transfer) {
    if (transfer.usb.status != usb::TransferStatus::Completed) return Apply(transfer, m_Judge.Judge(transfer));
    const auto search = m_Finder.SearchIn(transfer);
    if (search == PlaceFinder::Search::Found) m_Policy.FindPlace();
    if (search == PlaceFinder::Search::InVain) Leave(Cause::Failure, VX_E_RESYNCHRONIZED);
}

void StreamEngine::Keep(const PlannedTransfer& transfer) {
    m_Queue.Keep(transfer);
    if (transfer.HasFailed()) m_Policy.NoteFailure(ToStatus(transfer.usb.status));
}

/// A place that the finder knows already stays known.
void StreamEngine::Leave(Cause cause, VxStatus damage) {
    const bool wasPlanned = m_Policy.Is(State::Planned);
    if (wasPlanned || cause == Cause::Cancel) {
        const bool isBetween = wasPlanned && cause == Cause::Cancel && m_Queue.IsBetweenBlocks();
        const auto known = wasPlanned ? PlaceFinder::Place::Lost : m_Finder.GetPlace();
        m_Finder.Begin(isBetween ? PlaceFinder::Place::BetweenBlocks : known, m_Queue.Plan().Capacity());
    }
    m_Policy.Leave(cause, damage);
    m_Queue.CancelAll();
}

void StreamEngine::FinishReaping() {
    while (const PlannedTransfer* transfer = m_Queue.TakeKept())
        m_Finder.Read(*transfer);
    BlockEvidence damaged = m_Queue.Oldest() ? m_Queue.Oldest()->Evidence() : BlockEvidence();
    damaged.failure = m_Policy.Damage();
    BufferList buffers = Unbind();
    if (m_Policy.IsReapingFor(Cause::Cancel)) return FinishCancel(std::move(buffers));
    if (damaged.failure != VX_OK)
        if (BufferHandle_s* buffer = buffers.TakeFirst()) Complete(buffer, JudgeBlock(damaged));
    m_Finder.EndReading();
    (void)DeliverFound(buffers);
    m_Pool.PutBack(std::move(buffers));
    if (m_Policy.IsResynchronization()) ++m_Statistics.resynchronizations;
    GoOn();
}

void StreamEngine::FinishCancel(BufferList buffers) {
    while (BufferHandle_s* buffer = buffers.TakeFirst())
        m_Pool.Complete(buffer, EmptyResult(VX_E_CANCELLED));
    m_Pool.CompleteQueued(VX_E_CANCELLED);
    m_Finder.DropAll();
    m_Requests.Serve();
    GoOn();
}

/// What the stream needs after everything was reaped, whatever it was reaped for.
void StreamEngine::GoOn() {
    m_Policy.Reaped(m_Finder.GetPlace() == PlaceFinder::Place::BetweenBlocks, m_Requests.IsStopping());
    m_Finder.BeginSearch();
    if (m_Policy.Is(State::Dead)) Die();
}

BufferList StreamEngine::Unbind() {
    m_Judge.Forget();
    return m_Queue.Unbind();
}

/// Whole blocks that were found go to the given buffers, then to queued ones. False when some must wait until more are
/// queued.
[[gnu::hot]] bool StreamEngine::DeliverFound(BufferList& buffers) {
    while (m_Finder.HasFound()) {
        BufferHandle_s* buffer = buffers.TakeFirst();
        if (!buffer) buffer = m_Pool.Take();
        if (!buffer) return false;
        Deliver(buffer, m_Finder.Found());
        m_Finder.RemoveFound();
    }
    return true;
}

void StreamEngine::Deliver(BufferHandle_s* buffer, const PacketParser::Block& block) {
    const std::size_t count = std::min(buffer->size, block.payload.size());
    if (count > 0) std::memcpy(buffer->data, block.payload.data(), count);
    m_Statistics.copiedBytes += count;
    BlockEvidence evidence;
    evidence.leader = block.leader;
    evidence.trailer = block.trailer;
    evidence.received = block.payload.size();
    evidence.bufferSize = buffer->size;
    if (block.overran) evidence.failure = VX_E_DATA_OVERRUN;
    if (block.wasShort) evidence.failure = VX_E_NO_MEMORY;
    Complete(buffer, JudgeBlock(evidence));
}

/// The first block is lost if it had begun.
void StreamEngine::TrySmaller() {
    const bool hasBegun = m_Queue.Oldest() && m_Queue.Oldest()->Leader();
    Leave(Cause::Failure, hasBegun ? m_Sizes.Damage() : VX_OK);
}

/// The camera counts its blocks from 0 afterwards.
void StreamEngine::Restart() {
    if (!m_Policy.BeginRestart()) return Die();
    m_WasRestarted = true;
    m_Statistics.Restart();
    const VxStatus status = SwitchOnAgain();
    if (status == VX_OK) return m_Policy.SwitchedOn();
    const auto cause = m_Policy.NotSwitchedOn(status, !m_Queue.IsEmpty(), RecoveryPolicy::Clock::now());
    if (cause) return Leave(*cause, VX_OK);
    if (m_Policy.Is(State::Dead)) Die();
}

/// Off, halt cleared, sizes told again, transfers queued, on.
VxStatus StreamEngine::SwitchOnAgain() {
    (void)m_Registers.Disable(); // a halted camera may have done so itself
    if (m_Policy.NeedsHalt()) m_Registers.SetHalt();
    if (const VxStatus status = m_Registers.ClearHalt()) return status;
    if (m_Sizes.Wanted() != 0)
        if (const VxStatus status = TakeSmallerPlan()) return status;
    if (const VxStatus status = m_Registers.Program(m_Queue.Plan())) return status;
    m_Policy.Queue();
    m_Queue.LeadOff();
    m_Sizes.SwitchedOn(RecoveryPolicy::Clock::now());
    QueueMore();
    return m_Policy.Is(State::Planned) ? m_Registers.Enable() : VX_E_USB_IO;
}

/// Smaller transfers, which every camera can do, from now on.
VxStatus StreamEngine::TakeSmallerPlan() {
    u3v::TransferPlan plan;
    if (const VxStatus status = m_Registers.MakePlan({m_Sizes.Wanted(), {}}, plan)) return status;
    try {
        m_Queue.UsePlan(plan);
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    }
    m_Sizes.TookWanted(plan);
    return VX_OK;
}

void StreamEngine::Die() {
    const VxStatus status = m_Policy.End();
    Log(Tavix::kLogError, "The stream ended with status 0x%08X", status);
    m_IsLost = status == VX_E_USB_NO_DEVICE;
    m_Finder.DropAll();
    BufferList buffers = m_Pool.Refuse(status);
    buffers.Prepend(Unbind()); // bound to a block of which nothing could be queued
    while (BufferHandle_s* buffer = buffers.TakeFirst())
        Complete(buffer, EmptyResult(status));
    if (status == VX_E_USB_NO_DEVICE) m_Host.ReportLost();
    m_Requests.Serve();
}

} // namespace vexlo
