#pragma once
// Inside of CVxDevice.

#include "vexlo/CustomRequest.h"
#include "vexlo/DeviceSession.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"
#include "vexlo/VxStream.h"

namespace vexlo {

/// Counts failed accesses. Thread-safe.
struct AccessStatistics {
    ControlChannel::Counters pipes;
    std::atomic<std::uint64_t> failedReads{0};
    std::atomic<std::uint64_t> failedWrites{0};
    std::atomic<VxStatus> lastError{VX_OK};

    VxStatus NoteRead(VxStatus status);
    VxStatus NoteWrite(VxStatus status);
    void Clear();
};

/// How long a silent camera is waited for. A caller that opens again at once is answered soon: the wait, and the reset
/// at its end, have been had. Bound to a thread: the device's lock.
class ConnectPatience {
public:
    ControlTiming For(ControlTiming timing) const;
    void Note(VxStatus status);

private:
    using Clock = std::chrono::steady_clock;
    static constexpr ControlTiming::Duration kBriefLimit{1000};
    static constexpr std::chrono::seconds kMemory{30};
    Clock::time_point m_SilentUntil{};
};

/// Gives the session of the moment to the camera's streams. Thread-safe.
class SessionSource {
public:
    /// Null while the camera is closed.
    std::shared_ptr<DeviceSession> Get() const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        return m_Session;
    }
    void Set(std::shared_ptr<DeviceSession> session) TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        m_Session.swap(session);
    }

private:
    mutable Mutex m_Lock;
    std::shared_ptr<DeviceSession> m_Session TAVIX_GUARDED_BY(m_Lock);
};

struct CVxDevice::Impl {
    Impl();

    AccessStatistics statistics;
    SessionSource session;
    ControlTiming timing;     ///< guarded by lock; all but the settings is constant
    ConnectPatience patience; ///< guarded by lock
    std::unique_ptr<CVxStream> stream;
    std::unique_ptr<CVxEventStream> eventStream;

    mutable Mutex lock; ///< open, close and the request
    CustomRequest request TAVIX_GUARDED_BY(lock);
};

} // namespace vexlo
