#pragma once
// Keeps a stream's transfers queued and turns what they bring into completed buffers.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/BufferPool.h"
#include "vexlo/stream/StreamHost.h"
#include "vexlo/stream/StreamRegisters.h"
#include "vexlo/stream/StreamStatistics.h"
#include "vexlo/stream/block/PlaceFinder.h"
#include "vexlo/stream/engine/RecoveryPolicy.h"
#include "vexlo/stream/engine/SizeTrial.h"
#include "vexlo/stream/engine/StreamRequests.h"
#include "vexlo/stream/engine/TransferJudge.h"
#include "vexlo/stream/engine/TransferQueue.h"

#include <atomic>
#include <chrono>
#include <thread>

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

/// The loop that ties a stream's parts:
///
///   requests --> [serve] --> queue --wait--> judge --> pool
///                              ^               |
///                              '--- policy <---'  finder, while the plan is left
///
/// The queue keeps transfers in flight, the judge says what came of each, the policy knows what follows when that was
/// not as planned (RecoveryPolicy.h draws its states), the finder reads what came out of place. A camera that is gone
/// ends the stream; all buffers complete as failed then.
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
    void Cancel() { m_Requests.Cancel(); }
    /// The same without waiting for it.
    void AskCancel() { m_Requests.AskCancel(); }
    /// Cancels, ends the thread and returns when no transfer is in flight.
    void Stop();
    /// The stream was switched off and on at least once.
    bool WasRestarted() const { return m_WasRestarted; }
    /// The camera was found gone.
    bool IsLost() const { return m_IsLost; }

private:
    using State = RecoveryPolicy::State;
    using Cause = RecoveryPolicy::Cause;

    void Run();
    void SetPriority() const;
    bool IsDone() const;
    void Work();
    void ServeRequests();
    void WaitForWork();
    unsigned int MostWaitMs() const;
    void QueueMore();
    void OnQueued(usb::Result result);
    void OnGone();

    void JudgeCompleted();
    void Apply(PlannedTransfer& transfer, const Verdict& verdict);
    void Search(PlannedTransfer& transfer);
    void Keep(const PlannedTransfer& transfer);
    void EndBlock(const BlockEvidence& evidence);
    void Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result);

    void Leave(Cause cause, VxStatus damage);
    void FinishReaping();
    void FinishCancel(BufferList buffers);
    void GoOn();
    BufferList Unbind();
    bool DeliverFound(BufferList& buffers);
    void Deliver(BufferHandle_s* buffer, const PacketParser::Block& block);
    void TrySmaller();
    void Restart();
    VxStatus SwitchOnAgain();
    VxStatus TakeSmallerPlan();
    void Die();

    StreamHost& m_Host;             // borrowed
    usb::Handle& m_Handle;          // borrowed
    BufferPool& m_Pool;             // borrowed
    StreamStatistics& m_Statistics; // borrowed
    const EngineSettings m_Settings;
    StreamRequests m_Requests;
    std::atomic<bool> m_WasRestarted{false};
    std::atomic<bool> m_IsLost{false};

    // Of the stream's thread from here on.
    StreamRegisters m_Registers;
    TransferQueue m_Queue;
    TransferJudge m_Judge;
    RecoveryPolicy m_Policy;
    PlaceFinder m_Finder;
    SizeTrial m_Sizes;

    std::thread m_Thread; // joined by Stop
};

} // namespace vexlo
