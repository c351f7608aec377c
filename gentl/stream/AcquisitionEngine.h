#pragma once
// What moves buffers between a stream's queues and the bus.

#include "gentl/stream/BufferQueues.h"
#include "gentl/stream/Pump.h"

#include "core/Mutex.h"
#include "core/WaitObject.h"

#include <atomic>
#include <condition_variable>

namespace gentl {

/// Whom an engine tells, on whatever thread; it must not call the engine.
class AcquisitionObserver {
public:
    /// It began to grab or does so no more.
    virtual void NoteGrabbing() noexcept = 0;
    /// The stream ended by itself.
    virtual void NoteEnd(vexlo::VxStatus reason) noexcept = 0;

protected:
    ~AcquisitionObserver() = default;
};

/// Completed buffers stay with the USB access library until somebody asks for them, so that an image costs one wake-up,
/// that of the consumer. Only handling modes that overwrite need a thread that takes images whether they are asked for
/// or not. Throws Failure. Lock order: who starts and stops, the queues', the slots'. Thread-safe.
///
///   idle --Start--> starting --> running --Stop--> stopping --> idle --Close--> closed
///
/// While it starts and stops, which takes as long as the camera takes, buffers come and go as when it is idle. A run
/// that has the buffers which were asked for, or ended by itself, is over but running until it is stopped or started.
/// Buffers on the bus are called off with the queues' lock open, since that takes as long as the camera takes when its
/// stream just recovers; no buffer goes to the bus meanwhile, and no run ends.
/// A closed one has a share for each call that was under way; the camera's stream may be another's by then, so it
/// leaves that alone, and what changes something fails with INVALID_HANDLE.
class AcquisitionEngine {
public:
    /// Of a stream that its owner opens before anything else, and closes after Close.
    AcquisitionEngine(vexlo::CVxStream& stream, AcquisitionObserver& observer);

    /// RESOURCE_IN_USE when its memory is announced already. It has its handle then.
    void Announce(const SharedBuffer& buffer);
    /// BUSY while it is being filled; INVALID_HANDLE when another thread was faster. Its handle is void then.
    void Revoke(const SharedBuffer& buffer);
    /// INVALID_INDEX.
    BUFFER_HANDLE BufferAt(size_t index);
    /// The caller has a share of it.
    void Queue(Buffer& buffer);
    void Flush(ACQ_QUEUE_TYPE operation);
    /// The oldest buffer of the output queue, now delivered; a null handle when there is none. `isLast` when none
    /// follows.
    EVENT_NEW_BUFFER_DATA TakeOutput(bool& isLast);

    /// `count` is GENTL_INFINITE or a number of buffers. RESOURCE_IN_USE while it grabs.
    void Start(std::uint64_t count);
    void Stop();
    /// For who knows that the camera left: there are images, or buffers on the bus that may still have some. Whoever
    /// listens is told when that is no more so.
    bool MayBring();
    /// Why the stream ended by itself since the last start; VX_OK when it has not. What it completed before can be
    /// taken then.
    vexlo::VxStatus EndReason() const { return m_EndReason; }
    /// Once. Stops, and revokes all buffers. The caller keeps their memory until the bus has let go of it.
    std::vector<SharedBuffer> Close() noexcept;

    /// For what changes settings: BUSY while it runs, INVALID_HANDLE when it was closed.
    void RequireIdle();
    /// As RequireIdle.
    void SetHandling(Handling handling);
    /// Who is signalled when there may be something in the output queue; one that is not valid is nobody. Waits for
    /// nobody who is at the queues.
    void SetListener(const Tavix::WaitObjectEx& listener) noexcept;

    struct Figures {
        std::uint64_t announced, input, output;         ///< buffers there now
        std::uint64_t filled, delivered, overwritten;   ///< since the last start
        std::uint64_t fired;                            ///< buffers that came into the output queue, ever
        std::uint64_t isRunning, isGrabbing, hasMapped; ///< 0 or 1; it grabs until it has what was asked for
        std::uint64_t handling;
    };
    Figures Look();

private:
    /// What is in the input pool is wanted on the bus.
    bool Feeds() const TAVIX_REQUIRES(m_Mutex);
    void RegisterOnBus(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    vexlo::VxStatus QueueOnBus(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    void CheckOpen() const TAVIX_REQUIRES(m_Mutex);
    void CheckIdle() const TAVIX_REQUIRES(m_Mutex);
    /// INVALID_HANDLE when it was revoked while this thread waited for the lock.
    void CheckAnnounced(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    void TakeBack(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    void PutIntoInput(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    /// BUSY when it is being filled.
    void PutAside(Buffer& buffer) TAVIX_REQUIRES(m_Mutex);
    /// Ends when the queue is empty.
    void PutAllAside(const BufferQueues::Queue& buffers) TAVIX_REQUIRES(m_Mutex);
    /// Those that are in none of the queues; with `andOutput` also those of the output queue.
    void QueueAll(bool andOutput) TAVIX_REQUIRES(m_Mutex);
    void FlushInputToOutput() TAVIX_REQUIRES(m_Mutex);
    /// Brings what the USB access library has completed to where it belongs. False when there was nothing.
    bool Drain() TAVIX_REQUIRES(m_Mutex);
    /// The same by who is not waiting for buffers himself: those who are would not be told any more.
    void DrainForOthers() TAVIX_REQUIRES(m_Mutex);
    void Sort(const vexlo::CVxStream::GrabResult& result) TAVIX_REQUIRES(m_Mutex);
    void Accept(Buffer& buffer, const vexlo::CVxStream::GrabResult& result) TAVIX_REQUIRES(m_Mutex);
    /// Images that nobody took make room for newer ones, where that is wished. Throws nothing: who takes images gets
    /// them whatever becomes of that.
    void Overwrite() TAVIX_REQUIRES(m_Mutex);
    void CompleteCount() TAVIX_REQUIRES(m_Mutex);
    /// Nothing is on the bus any more. The lock is open meanwhile; what comes into the input pool stays there then.
    void CallOff() TAVIX_REQUIRES(m_Mutex);
    bool IsGrabbing() const TAVIX_REQUIRES(m_Mutex);

    void Begin(std::uint64_t count) TAVIX_REQUIRES(m_PumpMutex) TAVIX_EXCLUDES(m_Mutex);
    void PrepareBuffers(std::uint64_t count) TAVIX_EXCLUDES(m_Mutex);
    void QueueInput() TAVIX_EXCLUDES(m_Mutex);
    void End() noexcept TAVIX_REQUIRES(m_PumpMutex) TAVIX_EXCLUDES(m_Mutex);
    void EnterStopping() noexcept TAVIX_EXCLUDES(m_Mutex);
    void TakeBuffersBack() noexcept TAVIX_EXCLUDES(m_Mutex);
    void OnEnd(vexlo::VxStatus reason) noexcept TAVIX_EXCLUDES(m_Mutex);

    void StartPump() TAVIX_REQUIRES(m_PumpMutex) TAVIX_EXCLUDES(m_Mutex);
    void StopPump() noexcept TAVIX_REQUIRES(m_PumpMutex) TAVIX_EXCLUDES(m_Mutex);
    void DrainForPump() noexcept TAVIX_EXCLUDES(m_Mutex);
    /// Whom the bus wakes; the pump then wakes the listener. Nobody for good.
    enum class Woken { Listener, Pump, Nobody };
    void Wake(Woken whom) noexcept TAVIX_EXCLUDES(m_ListenerMutex);
    void BindWaitObject() noexcept TAVIX_REQUIRES(m_ListenerMutex);
    void TellListener() noexcept;

    enum class Phase { Idle, Starting, Running, Stopping, Closed };

    vexlo::CVxStream& m_Vx;
    AcquisitionObserver& m_Observer;
    const Tavix::WaitObjectEx m_PumpBell = Tavix::WaitObjectEx::Create();
    Tavix::Mutex m_PumpMutex; // starting and stopping
    Tavix::Mutex m_Mutex TAVIX_ACQUIRED_AFTER(m_PumpMutex);
    BufferQueues m_Queues TAVIX_GUARDED_BY(m_Mutex);
    Phase m_Phase TAVIX_GUARDED_BY(m_Mutex) = Phase::Idle; // changed with m_PumpMutex
    bool m_IsPrepared TAVIX_GUARDED_BY(m_Mutex) = false;   // the bus takes buffers to be registered
    std::uint64_t m_Left TAVIX_GUARDED_BY(m_Mutex) = 0;    // buffers still to acquire
    unsigned int m_CallsOff TAVIX_GUARDED_BY(m_Mutex) = 0; // who call off just now
    std::condition_variable m_HaveCalledOff;               // all of them
    Handling m_Handling TAVIX_GUARDED_BY(m_Mutex) = Handling::Default;
    std::atomic<vexlo::VxStatus> m_EndReason{vexlo::VX_OK};
    Tavix::Mutex m_ListenerMutex TAVIX_ACQUIRED_AFTER(m_Mutex); // the stream's thread takes no other of these
    Tavix::WaitObjectEx m_Listener TAVIX_GUARDED_BY(m_ListenerMutex);
    Woken m_Woken TAVIX_GUARDED_BY(m_ListenerMutex) = Woken::Listener;
    Pump m_Pump TAVIX_GUARDED_BY(m_PumpMutex); // last, since it uses all of it
};

} // namespace gentl
