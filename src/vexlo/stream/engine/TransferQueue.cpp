#include "vexlo/stream/engine/TransferQueue.h"

#include <algorithm>
#include <type_traits>

namespace vexlo {
namespace {

constexpr std::size_t kFewestBytesInFlight = 8u << 20;
constexpr std::size_t kMostSlots = 64;
constexpr std::size_t kFewestScanPackets = 64;
constexpr std::size_t kWholeBlocksQueued = 2; // behind the one that is being filled

std::size_t BlockBytes(const u3v::TransferPlan& plan) {
    return static_cast<std::size_t>(plan.Capacity()) + plan.leaderSize + plan.trailerSize;
}

/// Two blocks or 8 MiB, whichever is more.
TransferBudget::Wishes WishesOf(const TransferQueue::Limits& limits, const u3v::TransferPlan& plan) {
    const std::size_t bytes = std::max(2 * BlockBytes(plan), kFewestBytesInFlight);
    return {limits.transfers, bytes, limits.memory};
}

/// Enough blocks to fill the budget, one more that completes meanwhile, and no more than there are buffers.
std::size_t SlotCount(const TransferQueue::Limits& limits, const u3v::TransferPlan& plan) {
    const std::size_t byBytes = WishesOf(limits, plan).bytes / BlockBytes(plan) + 2;
    const std::size_t byTransfers = limits.transfers / (plan.PayloadTransfers() + 2) + 2;
    const std::size_t wanted = std::min({byBytes, byTransfers, kMostSlots});
    return std::max<std::size_t>(1, std::min(wanted, limits.buffers));
}

std::size_t ScanSize(const u3v::TransferPlan& plan, std::size_t packetSize) {
    return std::max(plan.LongestPayload() / packetSize * packetSize, kFewestScanPackets * packetSize);
}

/// Not touched before it is used, so that it costs what comes and not what a camera states.
std::unique_ptr<std::uint8_t[]> Untouched(std::size_t size) {
    return std::unique_ptr<std::uint8_t[]>(new std::uint8_t[size]);
}

void NoteDone(usb::Transfer& transfer) {
    static_assert(std::is_standard_layout_v<PlannedTransfer>,
                  "a planned transfer begins with the one that the bus knows");
    reinterpret_cast<PlannedTransfer&>(transfer).done = true;
}

} // namespace

bool MayPass(usb::Result result) {
    return result == usb::Result::Io || result == usb::Result::Busy || result == usb::Result::Interrupted ||
           result == usb::Result::Other;
}

TransferQueue::TransferQueue(const Parts& parts, const StreamChannel& channel, const Limits& limits)
    : m_Handle(parts.handle), m_Pool(parts.pool), m_Channel(channel), m_Limits(limits) {
    m_Scan.role = PlannedTransfer::Role::Scan;
    m_Scan.usb.endpoint = channel.endpoint;
    m_Scan.usb.completed = &NoteDone;
}

TransferQueue::Slots TransferQueue::MakeSlots(const u3v::TransferPlan& plan, std::uint8_t* dump) {
    Slots slots(SlotCount(m_Limits, plan));
    for (auto& slot : slots) {
        slot = std::make_unique<BlockSlot>(plan, m_Channel.endpoint, dump);
        for (PlannedTransfer& transfer : slot->Transfers())
            transfer.usb.completed = &NoteDone;
    }
    return slots;
}

void TransferQueue::UsePlan(const u3v::TransferPlan& plan) {
    const std::size_t scanSize = ScanSize(plan, m_Channel.maxPacketSize);
    Memory dump = Untouched(plan.LongestPayload());
    Memory scanBytes = Untouched(scanSize);
    Slots slots = MakeSlots(plan, dump.get());
    const std::size_t transfers = slots.size() * slots.front()->Transfers().size() + 1; // and the one that scans
    m_InFlight.Reserve(transfers);
    m_Kept.Reserve(transfers);
    m_Bound.Reserve(slots.size());
    ForgetPlanned();
    m_Slots.swap(slots);
    m_Dump.swap(dump);
    m_ScanBytes.swap(scanBytes);
    m_Plan = plan;
    m_Scan.usb.buffer = m_ScanBytes.get();
    m_Scan.usb.length = m_Scan.cost = scanSize;
    m_Budget = TransferBudget(WishesOf(m_Limits, plan));
}

void TransferQueue::ForgetPlanned() {
    for (auto& slot : m_Slots) {
        for (PlannedTransfer& transfer : slot->Transfers())
            m_Handle.Forget(transfer.usb);
    }
}

void TransferQueue::Forget() {
    ForgetPlanned();
    m_Handle.Forget(m_Scan.usb);
}

bool TransferQueue::BindNext(BlockSlot& slot) {
    BufferHandle_s* buffer = m_Pool.Take();
    if (!buffer) return false;
    slot.Bind(buffer);
    m_Bound.Append(&slot);
    m_NextIsBound = true;
    return true;
}

/// The next transfer of the plan, with a buffer bound to its block; null when there is none to queue now. Only the
/// first leader after the stream was switched on may go ahead of its buffer.
PlannedTransfer* TransferQueue::NextTransfer() {
    BlockSlot& slot = *m_Slots[m_NextSlot];
    const bool begins = m_NextTransfer == 0;
    if (begins && !m_NextIsBound && slot.Buffer()) return nullptr; // all slots are in use
    if (!slot.Buffer() && !BindNext(slot)) {
        if (!begins || !m_LeadsOff) return nullptr;
        slot.LeadOff();
    }
    return &slot.Transfers()[m_NextTransfer];
}

void TransferQueue::Advance() {
    m_NextIsBound = false;
    if (++m_NextTransfer < m_Slots[m_NextSlot]->Transfers().size()) return;
    m_NextTransfer = 0;
    m_NextSlot = (m_NextSlot + 1) % m_Slots.size();
}

bool TransferQueue::HasRoomForNext() const {
    BlockSlot& slot = *m_Slots[m_NextSlot];
    const PlannedTransfer& next = slot.Transfers()[m_NextTransfer];
    const std::size_t cost = slot.Buffer() ? next.cost : next.usb.length;
    return m_Budget.HasRoom(m_InFlight.Size(), m_BytesInFlight, cost);
}

/// Two whole blocks wait for their data, and there is no room yet for the whole of the next: it is queued at one go
/// when the oldest has ended, and not transfer by transfer, so that most wake-ups of the stream's thread have less to
/// do.
bool TransferQueue::CanNextBlockWait() const {
    const std::size_t transfers = m_Slots[m_NextSlot]->Transfers().size();
    if (m_NextTransfer != 0 || m_Bound.Size() <= kWholeBlocksQueued) return false;
    return !m_Budget.HasRoom(m_InFlight.Size() + transfers - 1, m_BytesInFlight, BlockBytes(m_Plan));
}

[[gnu::hot]] usb::Result TransferQueue::QueueMore() {
    while (HasRoomForNext() && !CanNextBlockWait()) {
        PlannedTransfer* transfer = NextTransfer();
        if (!transfer) break;
        if (const usb::Result result = Submit(*transfer); result != usb::Result::Ok) return result;
        Advance();
    }
    return usb::Result::Ok;
}

/// For want of memory some systems answer as if the line were bad.
[[gnu::hot]] usb::Result TransferQueue::Submit(PlannedTransfer& transfer) {
    transfer.done = false;
    usb::Result result = m_Handle.Submit(transfer.usb);
    if (MayPass(result)) result = m_Handle.Submit(transfer.usb);
    if (result == usb::Result::Ok) {
        m_LeadsOff = false;
        m_InFlight.Append(&transfer);
        m_BytesInFlight += transfer.cost;
        m_Budget.Accepted(m_InFlight.Size());
    } else if (result == usb::Result::NoMemory || MayPass(result)) {
        m_Budget.Refused(m_InFlight.Size());
    }
    return result;
}

/// Cancelled transfers may come back in any order; they are looked at in the order of queuing.
[[gnu::hot]] PlannedTransfer* TransferQueue::TakeCompleted() {
    if (m_InFlight.IsEmpty() || !m_InFlight.Front()->done) return nullptr;
    PlannedTransfer* transfer = m_InFlight.Front();
    m_InFlight.RemoveFront();
    m_BytesInFlight -= transfer->cost;
    return transfer;
}

/// From the last to the first, so that no transfer receives what was meant for one before it. Those that completed
/// meanwhile answer NotFound and are looked at like the others.
void TransferQueue::CancelAll() {
    for (std::size_t i = m_InFlight.Size(); i > 0; --i)
        (void)m_Handle.Cancel(m_InFlight[i - 1]->usb);
}

const PlannedTransfer* TransferQueue::TakeKept() {
    if (m_Kept.IsEmpty()) return nullptr;
    const PlannedTransfer* transfer = m_Kept.Front();
    m_Kept.RemoveFront();
    return transfer;
}

bool TransferQueue::IsBetweenBlocks() const {
    if (m_InFlight.IsEmpty()) return m_NextTransfer == 0;
    return m_InFlight.Front()->role == PlannedTransfer::Role::Leader;
}

[[gnu::hot]] BufferHandle_s* TransferQueue::EndOldest() {
    BlockSlot& slot = *m_Bound.Front();
    BufferHandle_s* buffer = slot.Buffer();
    slot.Unbind();
    m_Bound.RemoveFront();
    m_Budget.BlockCompleted();
    return buffer;
}

BufferList TransferQueue::Unbind() {
    BufferList buffers;
    for (std::size_t i = 0; i < m_Bound.Size(); ++i)
        buffers.Append(*m_Bound[i]->Buffer());
    for (auto& slot : m_Slots)
        slot->Unbind();
    m_Bound.Clear();
    m_NextSlot = m_NextTransfer = 0;
    m_NextIsBound = false;
    return buffers;
}

} // namespace vexlo
