#pragma once
// The clock of a camera, told by the host's.

#include "camera/device/OpenDevice.h"
#include "camera/time/JumpWatch.h"
#include "core/Mutex.h"

#include <tavix/camera/HostTime.h>

#include <condition_variable>
#include <memory>
#include <optional>
#include <thread>

namespace Tavix::detail {

/// Compares both clocks: while a stream runs again and again on a thread of its own, and at once when an image shows
/// that the camera's clock has jumped. Thread-safe.
class HostClock {
public:
    explicit HostClock(std::shared_ptr<OpenDevice> device);
    ~HostClock();
    HostClock(const HostClock&) = delete;
    HostClock& operator=(const HostClock&) = delete;

    /// Compares now, and goes on with it.
    void Start();
    void Stop();
    /// Of an image that arrived at that moment.
    HostTime TimeOf(std::uint64_t cameraTime, std::chrono::steady_clock::time_point arrival);
    /// Of any moment of the camera's clock; compares now unless that goes on anyway.
    HostTime TimeOf(std::uint64_t cameraTime);

private:
    bool CanLatch() const;
    ClockMap::Pair LatchOnce();
    void Compare(std::size_t tries) noexcept;
    /// Looks once, which is enough to know that nothing has happened.
    bool HasJumped() noexcept;
    void Run();
    bool WaitForStop(MutexLock& guard, std::chrono::steady_clock::time_point end) TAVIX_REQUIRES(m_Mutex);
    HostTime MakeTime(const std::optional<ClockMap::Estimate>& estimate, std::int64_t now) TAVIX_REQUIRES(m_Mutex);
    /// By the present line, or for an image that is older than a jump by the one before; nothing if neither may be.
    std::optional<ClockMap::Estimate> Plausible(std::int64_t camera, std::int64_t arrival) TAVIX_REQUIRES(m_Mutex);

    const std::shared_ptr<OpenDevice> m_Device;
    const bool m_CanLatch;
    Mutex m_Latching; // held while the clocks are compared
    Mutex m_Mutex TAVIX_ACQUIRED_AFTER(m_Latching);
    ClockMap m_Map TAVIX_GUARDED_BY(m_Mutex);
    std::optional<ClockMap> m_Former TAVIX_GUARDED_BY(m_Mutex); // before the last jump
    ArrivalMap m_Arrivals TAVIX_GUARDED_BY(m_Mutex);
    JumpWatch m_Watch TAVIX_GUARDED_BY(m_Mutex);
    /// Of the real clock to the monotonic one, asked for now and then.
    std::chrono::nanoseconds m_RealAhead TAVIX_GUARDED_BY(m_Mutex){0};
    std::int64_t m_RealAskedAt TAVIX_GUARDED_BY(m_Mutex) = 0;
    bool m_IsStopped TAVIX_GUARDED_BY(m_Mutex) = true;
    std::condition_variable m_Stopped;
    std::thread m_Thread;
};

} // namespace Tavix::detail
