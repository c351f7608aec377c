#pragma once
// Keeps a stream's transfers queued and turns what they bring into completed buffers.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/BlockSlot.h"
#include "vexlo/stream/BufferPool.h"
#include "vexlo/stream/FirstBlocks.h"
#include "vexlo/stream/FixedQueue.h"
#include "vexlo/stream/PacketParser.h"
#include "vexlo/stream/Silence.h"
#include "vexlo/stream/StreamHost.h"
#include "vexlo/stream/StreamRegisters.h"
#include "vexlo/stream/StreamStatistics.h"
#include "vexlo/stream/TransferBudget.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace vexlo {

struct EngineSettings {
    StreamChannel channel;
    u3v::TransferPlan plan;
    std::size_t maxBuffers = 0;
    std::uint32_t maxQueuedTransfers = 0;
    std::size_t memoryLimit = 0; ///< bytes that transfers of the whole system may use, 0: unknown
    int threadPriority = 0;
    std::chrono::milliseconds silence{0}; ///< before the first block that is too long for a camera; 0: none is
};

///   planned --a role does not fit--> reaping --place known--> planned
///                                     | |                        ^ ^
///                                     | '--place lost--> scanning' |
///                                     '-- off, on again -----------'
///                                       (pausing when that fails)
///
/// planned   Transfers are queued in the order of the plan, over the borders of blocks, straight into buffers.
/// reaping   Everything queued is cancelled and awaited; then what arrived is read as packets, so that whole blocks
///           among it are delivered and the place in the stream is known as well as it can be.
/// scanning  One transfer after the other is read as packets, until a block's end.
/// pausing   The stream could not be switched on again; that is tried once more when the link has had time to recover
///           or its end to be known.
///
/// A camera that halted its endpoint, a link that failed, packets in which no block's end is found, and transfers too
/// large to bring anything or to find memory need more: the stream is switched off and on between reaping and planned.
/// A camera that is gone ends the stream; all buffers complete as failed.
///
/// One thread does all this; the public operations only ask it to. They are thread-safe.
class StreamEngine {
public:
    struct Parts {
        StreamHost& host;
        usb::Handle& handle;
        BufferPool& pool;
        StreamStatistics& statistics;
    };
    /// The parts are borrowed and outlive the engine. Throws std::bad_alloc; nothing else here does, for all the memory
    /// of a stream is taken here, but that of blocks which have to be found again.
    StreamEngine(const Parts& parts, const EngineSettings& settings);
    ~StreamEngine();
    StreamEngine(const StreamEngine&) = delete;
    StreamEngine& operator=(const StreamEngine&) = delete;

    /// Starts the thread. The transfer of the first leader is queued when this returns, for there are no buffers yet;
    /// the camera's stream may be switched on then. VX_E_NO_MEMORY when there is no thread to be had: nothing has been
    /// queued then, and no buffer is taken.
    [[nodiscard]] VxStatus Start();
    /// Completes all buffers as cancelled and returns when that is done. Streaming goes on.
    void Cancel();
    /// Cancels, ends the thread and returns when no transfer is in flight.
    void Stop();
    /// The stream was switched off and on at least once.
    bool WasRestarted() const { return m_WasRestarted; }
    /// The camera was found gone.
    bool IsLost() const { return m_IsLost; }

private:
    using Clock = std::chrono::steady_clock;
    using Memory = std::unique_ptr<std::uint8_t[]>;
    using Slots = std::vector<std::unique_ptr<BlockSlot>>;
    enum class Mode { Planned, Reaping, Scanning, Pausing, Dead };
    enum class Reason { Resynchronize, Cancel, Restart, Lost };

    void Run();
    void Work();
    void OnRequest();
    void WaitForWork();
    unsigned int MostWaitMs() const;
    void SetPriority() const;
    void UsePlan(const u3v::TransferPlan& plan);
    void ForgetTransfers();

    // Queuing.
    void SubmitMore();
    PlannedTransfer* NextTransfer();
    bool BindNext(BlockSlot& slot);
    bool Submit(PlannedTransfer& transfer);
    void Advance();

    // Judging.
    static void OnCompleted(usb::Transfer& transfer);
    void TakeFront();
    void JudgePlanned(PlannedTransfer& transfer);
    void JudgeLeader(PlannedTransfer& transfer);
    void JudgePayload(PlannedTransfer& transfer);
    void JudgeTrailer(PlannedTransfer& transfer);
    bool TakeLateTrailer(const PlannedTransfer& transfer);
    void JudgeScan(PlannedTransfer& transfer);
    bool JudgeStatus(PlannedTransfer& transfer);
    void FinishBlock(BlockSlot& slot, const BlockEvidence& evidence);

    // Leaving the plan and coming back.
    void Leave(Reason reason, VxStatus damage);
    void CancelInFlight();
    void FeedWith(const PlannedTransfer& transfer);
    void FeedReaped();
    void FinishReaping();
    void FinishCancel(BufferList buffers);
    void GoOn();
    void FindPlace();
    void ServeCancels();
    BufferList Unbind();
    void TakeFound();
    bool DeliverFound(BufferList& buffers);
    void Deliver(BufferHandle_s* buffer, const PacketParser::Block& block);
    void RestartSoon();
    void Restart();
    VxStatus SwitchOnAgain();

    // Whether blocks come at all with transfers of this size.
    std::uint32_t LongestTransfer() const;
    bool IsNarrow() const;
    bool HearsNothing();
    void OnSilence();
    void LeaveToNarrow();
    VxStatus Narrow();
    void OnRefusedAlone(VxStatus status);
    void NoteFirstBlock(VxStatus status);
    void OnFirstWhole();
    void Die(VxStatus status);
    void Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result);

    StreamHost& m_Host;             // borrowed
    BufferPool& m_Pool;             // borrowed
    StreamStatistics& m_Statistics; // borrowed
    const EngineSettings m_Settings;
    usb::Handle& m_Handle; // borrowed
    StreamRegisters m_Registers;

    std::mutex m_Mutex;
    std::condition_variable m_Served;
    std::condition_variable m_Asked;
    bool m_StopAsked = false;         // guarded by m_Mutex
    unsigned int m_CancelsAsked = 0;  // guarded by m_Mutex
    unsigned int m_CancelsServed = 0; // guarded by m_Mutex
    bool m_Ended = false;             // guarded by m_Mutex
    std::atomic<bool> m_WasRestarted{false};
    std::atomic<bool> m_IsLost{false};

    // Of the stream's thread from here on.
    u3v::TransferPlan m_Plan; // that of the settings until it was found to ask too much
    Memory m_Dump;
    Slots m_Slots;
    std::size_t m_NextSlot = 0;              // where the next transfer to queue belongs
    std::size_t m_NextTransfer = 0;          // which one it is
    bool m_NextIsBound = false;              // its block has a buffer, but nothing of it is queued yet
    bool m_LeadsOff = false;                 // the first leader may be queued before there is a buffer
    FixedQueue<BlockSlot*> m_Bound;          // slots with buffers, oldest first
    FixedQueue<PlannedTransfer*> m_InFlight; // in the order of queuing
    BlockSlot* m_Late = nullptr;             // the oldest block, when something empty came in its trailer's place
    std::size_t m_BytesInFlight = 0;
    TransferBudget m_Budget;
    Mode m_Mode = Mode::Planned;
    Reason m_Reason = Reason::Resynchronize;
    VxStatus m_Damage = VX_OK;            // why the oldest block failed, while reaping; VX_OK: it did not
    VxStatus m_ReapedFailure = VX_OK;     // of a transfer, since the plan was left
    std::optional<PacketParser> m_Parser; // while reaping and scanning
    FixedQueue<const PlannedTransfer*> m_Reaped;
    std::list<PacketParser::Block> m_Found; // whole blocks that wait for buffers, oldest first
    Memory m_ScanBytes;
    std::uint64_t m_Scanned = 0; // bytes since scanning began
    PlannedTransfer m_Scan;
    FirstBlocks m_FirstBlocks;
    std::uint32_t m_NarrowTo = 0;       // size of the smaller transfers that are to be tried; 0: none are
    bool m_IsForMemory = false;         // since the system has no memory for larger ones
    Clock::time_point m_RefusedSince{}; // nothing is queued and nothing is taken since then; 0: it is
    Silence m_Silence;
    bool m_Heard = false;         // a transfer has ended
    std::uint32_t m_SilentAt = 0; // size of the transfers that brought nothing, while smaller ones are tried
    unsigned int m_RestartsInARow = 0;
    VxStatus m_RestartReason = VX_E_USB_IO;
    bool m_IsGone = false; // a transfer could not be queued for want of a camera
    bool m_IsOff = false;  // the camera's stream has to be switched on again
    Clock::time_point m_PauseEnd;
    unsigned int m_CancelsTaken = 0;
    bool m_Stopping = false;

    std::thread m_Thread; // joined by Stop
};

} // namespace vexlo
