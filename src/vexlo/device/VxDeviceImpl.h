#pragma once
// Inside of CVxDevice.

#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"
#include "vexlo/VxStream.h"
#include "vexlo/control/CustomRequest.h"
#include "vexlo/device/DeviceSession.h"

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

struct TAVIX_HIDDEN CVxDevice::Impl {
    Impl();

    VxStatus SetTimeout(EPropertyValue id, const void* buffer, unsigned long size) TAVIX_REQUIRES(lock);
    /// Null when it is no such property.
    bool* HowToOpen(EPropertyValue id) TAVIX_REQUIRES(lock);

    mutable Mutex lock; ///< open, close and the request

    AccessStatistics statistics;
    SessionSource session;
    ControlTiming timing TAVIX_GUARDED_BY(lock); ///< all but the settings is constant
    bool isProbe TAVIX_GUARDED_BY(lock) = false;
    bool isForReading TAVIX_GUARDED_BY(lock) = false;
    CustomRequest request TAVIX_GUARDED_BY(lock);
    std::unique_ptr<CVxStream> stream;
    std::unique_ptr<CVxEventStream> eventStream;
};

} // namespace vexlo
