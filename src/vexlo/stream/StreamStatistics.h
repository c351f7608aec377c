#pragma once
// What a stream counts.

#include "vexlo/Status.h"

#include <atomic>
#include <cstdint>

namespace vexlo {

/// Counted by the stream's thread, read by any. Thread-safe, field by field.
struct StreamStatistics {
    std::atomic<std::uint64_t> totalBuffers{0};  ///< completed with data or an error, cancelled ones left out
    std::atomic<std::uint64_t> failedBuffers{0}; ///< of these, with an error status
    std::atomic<std::uint64_t> missedFrames{0};  ///< block ids between two good buffers that brought no good one
    std::atomic<std::uint64_t> resynchronizations{0};
    std::atomic<std::uint64_t> lastBlockId{0}; ///< of the last good buffer
    std::atomic<std::uint32_t> lastFailedStatus{0};
    std::atomic<std::uint64_t> copiedBytes{0}; ///< payload bytes that had to be copied above the bus

    void Reset() {
        totalBuffers = failedBuffers = missedFrames = resynchronizations = lastBlockId = copiedBytes = 0;
        lastFailedStatus = 0;
        m_HasGoodBlock = false;
    }

    /// A buffer is about to go back with this status. Only the stream's thread calls it.
    void Count(VxStatus status, std::uint64_t blockId) {
        ++totalBuffers;
        if (status != VX_OK) {
            ++failedBuffers;
            lastFailedStatus = status;
            return;
        }
        // Ids start again at 0 when the stream was restarted; nothing can be said across that border.
        if (m_HasGoodBlock && blockId > lastBlockId + 1) missedFrames += blockId - lastBlockId - 1;
        lastBlockId = blockId;
        m_HasGoodBlock = true;
    }

private:
    bool m_HasGoodBlock = false; // of the stream's thread
};

} // namespace vexlo
