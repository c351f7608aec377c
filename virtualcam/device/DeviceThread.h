#pragma once
// What a device does of its own accord: its timers, and telling its listener.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/device/EndpointSet.h"
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
    /// std::runtime_error when the thread cannot be started; the listener is then not set.
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
    std::mutex m_Lock;
    std::condition_variable m_Posted;
    EndpointSet m_Ready;    // guarded by m_Lock, as all down to the next lock
    unsigned m_Notices = 0; // comings and goings that were not told yet
    bool m_LastPlugged = false;
    std::optional<TimePoint> m_WakeAt;
    bool m_Waiting = false;
    bool m_Rethink = false;
    bool m_Stop = false;

    std::mutex m_ListenerLock;            // held while the listener is called
    DeviceListener* m_Listener = nullptr; // guarded by m_ListenerLock, as is the start of the thread
    std::thread m_Thread;

    void Tell(bool plugged);
    void Run();
    std::optional<TimePoint> RunDueTimers();
    void Wait(std::unique_lock<std::mutex>& lock, std::optional<TimePoint> deadline);
    bool Deliver(std::unique_lock<std::mutex>& lock);
    bool DeliverNotice(bool plugged);
    EndpointSet DeliverReady(EndpointSet ready);
};

} // namespace virtualcam
