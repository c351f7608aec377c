#pragma once
// What a stream counts.

#include "core/Mutex.h"

#include <tavix/camera/ImageStream.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace Tavix::detail {

/// Over all runs of a stream. Thread-safe.
struct StreamCounters {
    std::atomic<std::uint64_t> delivered{0}, dropped{0}, failed{0}, missed{0}, starved{0}, reconnects{0};
    std::atomic<std::size_t> buffers{0}, memory{0}, mapped{0};
    std::atomic<bool> isStarving{false}; // now

    /// Counts a broken image; the first one's defect is kept.
    void CountFailed(const std::string& defect) {
        ++failed;
        const MutexLock guard(m_Mutex);
        if (m_FirstDefect.empty()) m_FirstDefect = defect;
    }
    std::string FirstDefect() const {
        const MutexLock guard(m_Mutex);
        return m_FirstDefect;
    }
    GrabCounts Read() const {
        GrabCounts counts;
        counts.delivered = delivered;
        counts.dropped = dropped;
        counts.failed = failed;
        counts.missed = missed;
        counts.starved = starved;
        counts.reconnects = reconnects;
        counts.buffers = buffers;
        counts.memory = memory;
        counts.mapped = mapped;
        return counts;
    }

private:
    mutable Mutex m_Mutex;
    std::string m_FirstDefect TAVIX_GUARDED_BY(m_Mutex);
};

} // namespace Tavix::detail
