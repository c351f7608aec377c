#pragma once
// The buffers that an application gave to a stream, and their way through it.

#include "vexlo/Alarm.h"
#include "vexlo/Mutex.h"
#include "vexlo/stream/BufferList.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <unordered_map>

namespace vexlo {

///   Register -> idle --Queue--> queued --Take--> bound --Complete--> completed --Retrieve--> idle
///                                  ^----PutBack----'
///
/// Every buffer that was queued is retrieved exactly once, unless it was taken back before it was bound. The wait
/// object is signalled while completed buffers wait. Its lock is innermost: nothing is called under it but the wait
/// object and the waker, which must not block. Thread-safe.
class BufferPool {
public:
    using Waker = std::function<void()>;

    void SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject);
    void SetListener(std::function<void()> listener);
    /// Called once when the stream has refused further buffers.
    void SetEndListener(std::function<void(VxStatus)> listener);
    /// Calls the listener if buffers have completed since it was called last, and then that of the end; for the
    /// stream's thread, which holds no lock.
    void TellListener();
    /// Forgets how many buffers may come; registered ones stay.
    void Prepare(std::size_t maxBuffers, std::size_t maxBufferSize);
    /// From here on queued buffers are wanted; `waker` is called when one comes after Take found none, unless from the
    /// listener: whoever tells it takes buffers anyway when it returns.
    void Start(Waker waker);
    /// No buffer is taken any more; queued ones complete with `status`.
    void Stop(VxStatus status);
    /// Buffers that are queued from now on are refused with `status`. Those that are queued already are bound and
    /// handed out, in their order.
    [[nodiscard]] BufferList Refuse(VxStatus status);
    /// Forgets all buffers and results. Only while stopped.
    void Clear();

    /// VX_E_NO_MEMORY when there is none to remember it by; nothing else here needs any.
    VxStatus Register(void* data, std::size_t size, BufferHandle_s** handle,
                      BufferMemory memory = BufferMemory::Ordinary);
    /// A registered buffer lies, if only in part, in these bytes.
    bool Uses(const void* data, std::size_t size) const;
    VxStatus Deregister(BufferHandle_s* handle, void** data);
    VxStatus Queue(BufferHandle_s* handle, const void* context);
    /// From queued to idle; VX_E_BUFFER_QUEUED when it is bound.
    VxStatus TakeBack(BufferHandle_s* handle);
    VxStatus Retrieve(CVxStream::GrabResult* result, unsigned long* left);

    /// The oldest queued buffer, now bound; null when there is none, then the waker is called for the next.
    BufferHandle_s* Take();
    /// Gives bound buffers back to the head of the queue, keeping their order.
    void PutBack(BufferList buffers);
    /// Makes a bound buffer retrievable. Handle, buffer and context of the result are filled in here.
    void Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result);
    /// Completes all queued buffers with `status`, in order.
    void CompleteQueued(VxStatus status);

private:
    bool IsReadyLocked() const TAVIX_REQUIRES(m_Mutex);
    void UpdateWaitObjectLocked(Alarm& alarm) TAVIX_REQUIRES(m_Mutex);
    void CompleteLocked(BufferHandle_s* buffer, const CVxStream::GrabResult& result, Alarm& alarm)
        TAVIX_REQUIRES(m_Mutex);
    void CompleteQueuedLocked(VxStatus status, Alarm& alarm) TAVIX_REQUIRES(m_Mutex);
    BufferHandle_s* Find(BufferHandle_s* handle) const TAVIX_REQUIRES(m_Mutex);

    mutable Mutex m_Mutex;
    std::unordered_map<BufferHandle_s*, std::unique_ptr<BufferHandle_s>> m_Buffers TAVIX_GUARDED_BY(m_Mutex);
    BufferList m_Queued TAVIX_GUARDED_BY(m_Mutex);
    BufferList m_Completed TAVIX_GUARDED_BY(m_Mutex);
    std::shared_ptr<Tavix::_WaitObjectPosix_t> m_WaitObject TAVIX_GUARDED_BY(m_Mutex);
    bool m_IsRaised TAVIX_GUARDED_BY(m_Mutex) = false;                     // the wait object's level
    std::function<void()> m_Listener TAVIX_GUARDED_BY(m_Mutex);            // may be empty
    std::function<void(VxStatus)> m_EndListener TAVIX_GUARDED_BY(m_Mutex); // may be empty
    bool m_IsEndNews TAVIX_GUARDED_BY(m_Mutex) = false;                    // for the listener of the end
    std::atomic<bool> m_HasNews{false};                                    // for the listeners; set under m_Mutex
    Waker m_Waker TAVIX_GUARDED_BY(m_Mutex);                               // empty while stopped
    bool m_Wanted TAVIX_GUARDED_BY(m_Mutex) = false;
    std::thread::id m_Teller TAVIX_GUARDED_BY(m_Mutex); // the stream's thread
    VxStatus m_Refusal TAVIX_GUARDED_BY(m_Mutex) = VX_OK;
    std::size_t m_MaxBuffers TAVIX_GUARDED_BY(m_Mutex) = 0;
    std::size_t m_MaxBufferSize TAVIX_GUARDED_BY(m_Mutex) = 0;
};

/// A result without any block: all numbers unknown.
CVxStream::GrabResult EmptyResult(VxStatus status);

} // namespace vexlo
