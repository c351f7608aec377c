// How the plan is left, and how the stream finds back to it.

#include "StreamEngine.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vexlo {
namespace {

constexpr unsigned int kMostRestartsInARow = 8;
constexpr unsigned int kRestartsUntilHalt = 3; ///< setting a halt is no first remedy
constexpr std::chrono::milliseconds kShortestPause{10};
constexpr std::chrono::milliseconds kLongestPause{250};

bool IsFailure(usb::TransferStatus status) {
    return status != usb::TransferStatus::Completed && status != usb::TransferStatus::Cancelled;
}

bool BeginsBlock(const PlannedTransfer& transfer) {
    return transfer.role == PlannedTransfer::Role::Leader;
}

} // namespace

void StreamEngine::Leave(Reason reason, VxStatus damage) {
    const bool between =
        m_Mode == Mode::Planned && (m_InFlight.IsEmpty() ? m_NextTransfer == 0 : BeginsBlock(*m_InFlight.Front()));
    // A place that the parser knows already stays known.
    const auto known = m_Parser && m_Mode != Mode::Planned ? m_Parser->GetPlace() : PacketParser::Place::Lost;
    const auto place = reason == Reason::Cancel && between ? PacketParser::Place::BetweenBlocks : known;
    if (m_Mode == Mode::Planned || reason == Reason::Cancel) {
        m_Parser.emplace(m_Settings.channel.maxPacketSize, m_Plan.Capacity(), place);
    }
    if (m_Mode != Mode::Reaping) m_ReapedFailure = VX_OK;
    m_Mode = Mode::Reaping;
    m_Reason = reason;
    m_Damage = damage;
    CancelInFlight();
}

/// From the last to the first, so that no transfer receives what was meant for one before it. Those that completed
/// meanwhile answer NotFound and are looked at like the others.
void StreamEngine::CancelInFlight() {
    for (std::size_t i = m_InFlight.Size(); i > 0; --i)
        (void)m_Handle.Cancel(m_InFlight[i - 1]->usb);
}

void StreamEngine::FeedWith(const PlannedTransfer& transfer) {
    m_Reaped.Append(&transfer);
    const usb::TransferStatus status = transfer.usb.status;
    if (IsFailure(status) && m_ReapedFailure != VX_E_USB_NO_DEVICE) m_ReapedFailure = ToStatus(status);
}

BufferList StreamEngine::Unbind() {
    BufferList buffers;
    for (std::size_t i = 0; i < m_Bound.Size(); ++i)
        buffers.Append(*m_Bound[i]->Buffer());
    for (auto& slot : m_Slots)
        slot->Unbind();
    m_Bound.Clear();
    m_Late = nullptr;
    m_NextSlot = m_NextTransfer = 0;
    m_NextIsBound = false;
    return buffers;
}

void StreamEngine::FeedReaped() {
    for (; !m_Reaped.IsEmpty(); m_Reaped.RemoveFront()) {
        const PlannedTransfer* const transfer = m_Reaped.Front();
        if (transfer->unread) {
            if (transfer->usb.actualLength > 0) m_Parser->Skip();
        } else {
            m_Parser->Feed(transfer->usb.buffer, transfer->usb.actualLength, transfer->EndsShort());
        }
        // What a failed transfer has cost shows nowhere; a block that looks whole all the same may not be.
        if (IsFailure(transfer->usb.status)) m_Parser->Skip();
    }
}

void StreamEngine::FinishReaping() {
    FeedReaped();
    BlockEvidence damaged = m_Bound.IsEmpty() ? BlockEvidence() : m_Bound.Front()->Evidence();
    damaged.failure = m_Damage;
    BufferList buffers = Unbind();
    if (m_Reason == Reason::Cancel) return FinishCancel(std::move(buffers));
    if (m_Damage != VX_OK)
        if (BufferHandle_s* buffer = buffers.TakeFirst()) Complete(buffer, JudgeBlock(damaged));
    TakeFound();
    (void)DeliverFound(buffers);
    m_Pool.PutBack(std::move(buffers));
    const bool isSameAgain = m_IsOff && m_Damage == VX_OK;
    if (m_ReapedFailure != VX_E_USB_NO_DEVICE && m_Reason != Reason::Lost && !isSameAgain)
        ++m_Statistics.resynchronizations;
    GoOn();
}

void StreamEngine::FinishCancel(BufferList buffers) {
    while (BufferHandle_s* buffer = buffers.TakeFirst())
        m_Pool.Complete(buffer, EmptyResult(VX_E_CANCELLED));
    m_Pool.CompleteQueued(VX_E_CANCELLED);
    (void)m_Parser->TakeBlocks();
    m_Found.clear();
    ServeCancels();
    GoOn();
}

/// What the stream needs after everything was reaped, whatever it was reaped for.
void StreamEngine::GoOn() {
    if (m_Reason == Reason::Lost || m_ReapedFailure == VX_E_USB_NO_DEVICE) return Die(VX_E_USB_NO_DEVICE);
    if (m_Stopping) {
        m_Mode = Mode::Planned; // nothing is submitted any more
    } else if (m_Reason == Reason::Restart || m_ReapedFailure != VX_OK || m_IsOff) {
        RestartSoon();
    } else {
        FindPlace();
    }
}

void StreamEngine::RestartSoon() {
    if (m_ReapedFailure != VX_OK) {
        m_RestartReason = m_ReapedFailure;
    } else if (m_Reason == Reason::Restart && m_Damage != VX_OK) {
        m_RestartReason = m_Damage;
        if (m_Damage == VX_E_USB_NO_MEMORY) m_RestartsInARow = 0; // the camera is not to blame
    }
    m_IsOff = true;
    m_Mode = Mode::Pausing; // for no time at all, unless the last restart failed
}

/// Back to the plan when the parser knows where the stream is, else on with single transfers until it does.
void StreamEngine::FindPlace() {
    const bool found = m_Parser->GetPlace() == PacketParser::Place::BetweenBlocks;
    m_Mode = found ? Mode::Planned : Mode::Scanning;
    m_Scanned = 0;
}

void StreamEngine::ServeCancels() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_CancelsServed = m_CancelsTaken;
    m_Served.notify_all();
}

void StreamEngine::TakeFound() {
    m_Found.splice(m_Found.end(), m_Parser->TakeBlocks());
}

/// Whole blocks that the parser found go to the given buffers, then to queued ones. False when some must wait until
/// more are queued.
bool StreamEngine::DeliverFound(BufferList& buffers) {
    while (!m_Found.empty()) {
        BufferHandle_s* buffer = buffers.TakeFirst();
        if (!buffer) buffer = m_Pool.Take();
        if (!buffer) return false;
        Deliver(buffer, m_Found.front());
        m_Found.pop_front();
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

/// The camera counts its blocks from 0 afterwards. When it was unplugged, transfers may fail as of a bad link before
/// that is known: so a failure here is not the end at once.
void StreamEngine::Restart() {
    if (++m_RestartsInARow > kMostRestartsInARow) return Die(m_RestartReason);
    m_WasRestarted = true;
    m_Statistics.Restart();
    const VxStatus status = SwitchOnAgain();
    m_IsOff = status != VX_OK;
    if (!m_IsOff || m_Mode == Mode::Reaping) return;
    if (status == VX_E_USB_NO_DEVICE && m_InFlight.IsEmpty()) return Die(status);
    m_PauseEnd = Clock::now() + std::min(kShortestPause * (1 << m_RestartsInARow), kLongestPause);
    if (m_InFlight.IsEmpty()) {
        m_Mode = Mode::Pausing;
    } else {
        Leave(status == VX_E_USB_NO_DEVICE ? Reason::Lost : Reason::Restart, VX_OK);
    }
}

/// Off, halt cleared, sizes told again, transfers queued, on.
VxStatus StreamEngine::SwitchOnAgain() {
    (void)m_Registers.Disable(); // a halted camera may have done so itself
    if (m_RestartsInARow >= kRestartsUntilHalt) m_Registers.SetHalt();
    if (const VxStatus status = m_Registers.ClearHalt()) return status;
    if (m_NarrowTo != 0)
        if (const VxStatus status = Narrow()) return status;
    if (const VxStatus status = m_Registers.Program(m_Plan)) return status;
    m_Mode = Mode::Planned;
    m_LeadsOff = true;
    m_Silence.SwitchedOn(Clock::now());
    SubmitMore();
    return m_Mode == Mode::Planned ? m_Registers.Enable() : VX_E_USB_IO;
}

void StreamEngine::Die(VxStatus status) {
    Log(256, "The stream ended with status 0x%08X", status);
    m_Mode = Mode::Dead;
    m_IsLost = status == VX_E_USB_NO_DEVICE;
    m_Found.clear();
    BufferList buffers = m_Pool.Refuse(status);
    buffers.Prepend(Unbind()); // bound to a block of which nothing could be queued
    while (BufferHandle_s* buffer = buffers.TakeFirst())
        Complete(buffer, EmptyResult(status));
    if (status == VX_E_USB_NO_DEVICE) m_Host.ReportLost();
    ServeCancels();
}

} // namespace vexlo
