#pragma once
// A stream's transfers: which comes next in the plan, which are in flight, and how much memory they may take.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/BufferPool.h"
#include "vexlo/stream/StreamHost.h"
#include "vexlo/stream/TransferBudget.h"
#include "vexlo/stream/block/BlockSlot.h"
#include "vexlo/stream/engine/FixedQueue.h"

#include <memory>
#include <vector>

namespace vexlo {

/// Submits, cancels and reaps, and judges nothing. All its memory is taken by UsePlan, so that nothing is allocated
/// once a stream runs. Bound to a thread.
class TransferQueue {
public:
    struct Limits {
        std::size_t buffers = 0;     ///< registered at most
        std::uint32_t transfers = 0; ///< in flight at most
        std::size_t memory = 0;      ///< bytes that transfers of the whole system may use, 0: unknown
    };
    struct Parts {
        usb::Handle& handle;
        BufferPool& pool;
    };
    /// The parts are borrowed and outlive the queue.
    TransferQueue(const Parts& parts, const StreamChannel& channel, const Limits& limits);
    TransferQueue(const TransferQueue&) = delete;
    TransferQueue& operator=(const TransferQueue&) = delete;

    /// Nothing may be in flight or bound. Throws std::bad_alloc, and all is as it was then.
    void UsePlan(const u3v::TransferPlan& plan);
    const u3v::TransferPlan& Plan() const { return m_Plan; }
    /// The handle may go after this.
    void Forget();

    /// The first leader may be queued before there is a buffer for its block.
    void LeadOff() { m_LeadsOff = true; }
    /// The next transfers of the plan, as many as there are buffers and room for; a block's together, as long as whole
    /// blocks are queued before it. Ok, or why the bus took no more; the one that it refused keeps its place in the
    /// order.
    usb::Result QueueMore();
    /// The transfer that looks for the place. Nothing else may be in flight.
    usb::Result QueueScan() { return Submit(m_Scan); }
    /// Once more, in the place that it had.
    usb::Result QueueAgain(PlannedTransfer& transfer) { return Submit(transfer); }

    /// Waits for transfers to complete, or for a wake-up.
    usb::Result Wait(unsigned int timeoutMs) { return m_Handle.HandleEvents(timeoutMs); }
    /// The next one that completed, in the order of queuing; null when the oldest one is in flight still.
    PlannedTransfer* TakeCompleted();
    /// Asks for the end of all that are in flight.
    void CancelAll();
    /// Lays aside one that is to be read as packets when all are reaped.
    void Keep(const PlannedTransfer& transfer) { m_Kept.Append(&transfer); }
    /// Null when there is none left.
    const PlannedTransfer* TakeKept();

    bool IsEmpty() const { return m_InFlight.IsEmpty(); }
    /// Nothing of a block has completed whose end has not.
    bool IsBetweenBlocks() const;
    /// The oldest block with a buffer; null when there is none.
    const BlockSlot* Oldest() const { return m_Bound.IsEmpty() ? nullptr : m_Bound.Front(); }
    /// It has ended: its buffer, which is bound to it no more.
    BufferHandle_s* EndOldest();
    /// Buffers of all blocks, oldest first; the plan begins anew.
    BufferList Unbind();
    /// The system refused the last one for want of memory.
    bool IsShort() const { return m_Budget.IsShort(); }

private:
    using Memory = std::unique_ptr<std::uint8_t[]>;
    using Slots = std::vector<std::unique_ptr<BlockSlot>>;

    Slots MakeSlots(const u3v::TransferPlan& plan, std::uint8_t* dump);
    bool HasRoomForNext() const;
    bool CanNextBlockWait() const;
    PlannedTransfer* NextTransfer();
    bool BindNext(BlockSlot& slot);
    usb::Result Submit(PlannedTransfer& transfer);
    void Advance();
    void ForgetPlanned();

    usb::Handle& m_Handle; // borrowed
    BufferPool& m_Pool;    // borrowed
    const StreamChannel m_Channel;
    const Limits m_Limits;

    u3v::TransferPlan m_Plan;
    Memory m_Dump;
    Slots m_Slots;
    Memory m_ScanBytes;
    PlannedTransfer m_Scan;
    std::size_t m_NextSlot = 0;     // where the next transfer to queue belongs
    std::size_t m_NextTransfer = 0; // which one it is
    bool m_NextIsBound = false;     // its block has a buffer, but nothing of it is queued yet
    bool m_LeadsOff = false;
    FixedQueue<BlockSlot*> m_Bound;          // slots with buffers, oldest first
    FixedQueue<PlannedTransfer*> m_InFlight; // in the order of queuing
    FixedQueue<const PlannedTransfer*> m_Kept;
    std::size_t m_BytesInFlight = 0;
    TransferBudget m_Budget{TransferBudget::Wishes{}};
};

/// What a system answers now and then without any reason that lasts.
bool MayPass(usb::Result result);

} // namespace vexlo
