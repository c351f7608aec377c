#pragma once
// What other threads ask of a stream's thread.

#include "vexlo/Mutex.h"

#include <atomic>
#include <condition_variable>
#include <functional>

namespace vexlo {

/// Thread-safe where nothing else is said.
class StreamRequests {
public:
    /// `waker` makes the stream's thread look; it must not block, and is not called after End.
    explicit StreamRequests(std::function<void()> waker) : m_Waker(std::move(waker)) {}

    /// The stream's thread may go to work.
    void Begin() TAVIX_EXCLUDES(m_Mutex);
    /// Asks for a cancel and returns when it is served, or the stream has ended.
    void Cancel() TAVIX_EXCLUDES(m_Mutex);
    /// Returns at once.
    void AskCancel() TAVIX_EXCLUDES(m_Mutex);
    void Stop() TAVIX_EXCLUDES(m_Mutex);

    /// All below are the stream's thread's own.
    void AwaitBegin() TAVIX_EXCLUDES(m_Mutex);
    /// Something was asked that is not taken yet.
    bool IsNew() const { return m_IsNew; }
    void Take() TAVIX_EXCLUDES(m_Mutex);
    /// A stop was taken.
    bool IsStopping() const { return m_Stopping; }
    /// What was taken is done.
    void Serve() TAVIX_EXCLUDES(m_Mutex);
    /// Returns when something new is asked.
    void Wait() TAVIX_EXCLUDES(m_Mutex);
    /// Or when it is time.
    void WaitUntil(std::chrono::steady_clock::time_point end) TAVIX_EXCLUDES(m_Mutex);
    /// Nothing is served any more, and nobody waits.
    void End() TAVIX_EXCLUDES(m_Mutex);

private:
    /// The number of the cancel; 0 when nothing is served any more.
    unsigned int AskCancelLocked() TAVIX_REQUIRES(m_Mutex);
    bool HasNew() const TAVIX_REQUIRES(m_Mutex);

    const std::function<void()> m_Waker;
    mutable Mutex m_Mutex;
    std::condition_variable m_Served;
    std::condition_variable m_Asked;
    bool m_Begun TAVIX_GUARDED_BY(m_Mutex) = false;
    bool m_StopAsked TAVIX_GUARDED_BY(m_Mutex) = false;
    unsigned int m_CancelsAsked TAVIX_GUARDED_BY(m_Mutex) = 0;
    unsigned int m_CancelsServed TAVIX_GUARDED_BY(m_Mutex) = 0;
    bool m_Ended TAVIX_GUARDED_BY(m_Mutex) = false;

    // What HasNew says, for a look without the lock: set before the waker's call, which the stream's thread sees first.
    std::atomic<bool> m_IsNew{false};
    unsigned int m_CancelsTaken = 0; // of the stream's thread
    bool m_Stopping = false;         // of the stream's thread
};

} // namespace vexlo
