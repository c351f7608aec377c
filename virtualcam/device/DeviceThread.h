#pragma once
// What a device does of its own accord: its timers, and telling its listener.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>

#include "core/Mutex.h"
#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/device/endpoint/EndpointSet.h"
#include "virtualcam/firmware/Clock.h"

namespace virtualcam {

/// A thread from the first listener on; it sleeps unless something is due. When memory is short for a timer or for the
/// listener, it tries again a moment later: nothing is forgotten. Thread-safe.
class DeviceThread {
public:
    /// Does what is due and answers when the next thing will be. Called with no lock of this class held.
    using RunTimers = std::function<std::optional<TimePoint>()>;

    explicit DeviceThread(RunTimers runTimers) : m_RunTimers(std::move(runTimers)) {}
    ~DeviceThread() { Stop(); }
    /// Ends the thread; to be called before what its timers work on is gone.
    void Stop();

    /// Sets or, with null, takes away the listener; returns when no call to the former one is running. Throws
    /// Tavix::NoThread; the listener is then not set.
    void SetListener(DeviceListener* listener);
    /// The listener is to learn that an endpoint is worth asking.
    void Ready(std::uint8_t endpoint);
    /// The listener is to learn of the one or the other; they take turns.
    void Plugged() { Tell(/*plugged=*/true); }
    void Unplugged() { Tell(/*plugged=*/false); }
    /// Something may be due earlier than was thought.
    void Reschedule(std::optional<TimePoint> deadline);

private:
    const RunTimers m_RunTimers;
    Tavix::Mutex m_Lock;
    std::condition_variable m_Posted;
    EndpointSet m_Ready TAVIX_GUARDED_BY(m_Lock);
    unsigned m_Notices TAVIX_GUARDED_BY(m_Lock) = 0; // comings and goings that were not told yet
    bool m_LastPlugged TAVIX_GUARDED_BY(m_Lock) = false;
    std::optional<TimePoint> m_WakeAt TAVIX_GUARDED_BY(m_Lock);
    bool m_Waiting TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Rethink TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Stop TAVIX_GUARDED_BY(m_Lock) = false;

    Tavix::Mutex m_ListenerLock; // held while the listener is called
    DeviceListener* m_Listener TAVIX_GUARDED_BY(m_ListenerLock) = nullptr;
    std::thread m_Thread; // started under m_ListenerLock

    void Tell(bool plugged);
    void Run();
    std::optional<TimePoint> RunDueTimers();
    void Wait(Tavix::MutexLock& lock, std::optional<TimePoint> deadline) TAVIX_REQUIRES(m_Lock);
    void WaitForRetry(Tavix::MutexLock& lock) TAVIX_REQUIRES(m_Lock);
    bool Deliver() TAVIX_REQUIRES(m_Lock);
    bool IsDue() const TAVIX_REQUIRES(m_Lock);
    bool DeliverNotice(bool plugged);
    EndpointSet DeliverReady(EndpointSet ready);
};

} // namespace virtualcam
