#pragma once
// Threads that take images as they come.

#include "camera/stream/Acquisition.h"
#include "core/Mutex.h"

#include <condition_variable>
#include <exception>
#include <functional>
#include <thread>

namespace Tavix::detail {

/// Calls for each image, or keeps the newest one for who asks. Ends with the acquisition. Thread-safe.
class StreamThread {
public:
    /// Starts the acquisition. Without a callback it keeps the newest image, and so it does where the options ask for
    /// that one only: then a second thread calls with it. End must follow.
    static std::shared_ptr<StreamThread> Start(std::shared_ptr<Acquisition> acquisition,
                                               std::function<void(Image)> callback);
    StreamThread(const StreamThread&) = delete;
    StreamThread& operator=(const StreamThread&) = delete;

    /// Cancels the acquisition and waits for a callback that runs. Called by that callback, it waits for nothing: the
    /// thread, to which all of it belongs then, ends when the callback has returned. Once.
    void End();
    /// The newest image, handed out; empty when the stream has ended or the time is over. Throws what ended it.
    Image Take(const Deadline& deadline);
    /// False when the time is over. Throws what ended the stream, once. StateError in its callback.
    bool Join(const Deadline& deadline);
    bool HasEnded() const;

private:
    StreamThread(std::shared_ptr<Acquisition> acquisition, std::function<void(Image)> callback);
    void Run();
    void CallWithNewest() noexcept;
    void Receive(Image image) noexcept;
    /// False when the callback has thrown, which ends the stream.
    bool Call(Image image) noexcept;
    void Fail(std::exception_ptr failure);
    void Deliver(Image image);
    /// Until something changes; false when the time is over.
    bool Wait(MutexLock& guard, const Deadline& deadline) TAVIX_REQUIRES(m_Mutex);
    void RethrowFailure() TAVIX_REQUIRES(m_Mutex);

    const std::shared_ptr<Acquisition> m_Acquisition;
    const std::function<void(Image)> m_Callback;
    const bool m_KeepsNewest;
    mutable Mutex m_Mutex;
    std::condition_variable m_Changed;
    Image m_Newest TAVIX_GUARDED_BY(m_Mutex);
    std::uint64_t m_Left TAVIX_GUARDED_BY(m_Mutex); // images to hand out yet
    bool m_HasEnded TAVIX_GUARDED_BY(m_Mutex) = false;
    bool m_IsCalling TAVIX_GUARDED_BY(m_Mutex) = false; // the second thread is at work
    std::exception_ptr m_Failure TAVIX_GUARDED_BY(m_Mutex);
    std::thread m_Thread, m_Caller; // last, since they use all of it; the second one with newest images to call with
};

} // namespace Tavix::detail
