#pragma once
// What a stream counts.

#include "vexlo/Status.h"

#include <atomic>
#include <cstdint>
#include <utility>

namespace vexlo {

/// Counted by the stream's thread, read by any. Thread-safe, field by field.
struct StreamStatistics {
    std::atomic<std::uint64_t> totalBuffers{0};  ///< completed with data or an error, cancelled ones left out
    std::atomic<std::uint64_t> failedBuffers{0}; ///< of these, with an error status
    std::atomic<std::uint64_t> missedFrames{0};  ///< blocks between two good buffers that brought no good one
    std::atomic<std::uint64_t> resynchronizations{0};
    std::atomic<std::uint64_t> lastBlockId{0}; ///< of the last good buffer
    std::atomic<std::uint32_t> lastFailedStatus{0};
    std::atomic<std::uint64_t> copiedBytes{0}; ///< payload bytes that had to be copied above the bus

    void Reset() {
        totalBuffers = failedBuffers = missedFrames = resynchronizations = lastBlockId = copiedBytes = 0;
        lastFailedStatus = 0;
        m_HasGoodBlock = false;
        m_NextId = m_FailedSinceGood = m_FailedBefore = 0;
    }

    /// The camera was switched off and on and counts its blocks from 0 again. Only the stream's thread calls it.
    void Restart() {
        m_FailedBefore += std::exchange(m_FailedSinceGood, 0);
        m_NextId = 0;
    }

    /// A buffer is about to go back with this status. Only the stream's thread calls it.
    void Count(VxStatus status, std::uint64_t blockId) {
        ++totalBuffers;
        if (status != VX_OK) {
            ++failedBuffers;
            lastFailedStatus = status;
            ++m_FailedSinceGood;
            return;
        }
        // Between two ids lie the blocks that the camera lost and those that came damaged. Where ids tell nothing, as
        // with a camera that does not count, the damaged ones remain.
        if (m_HasGoodBlock)
            missedFrames += m_FailedBefore + (blockId >= m_NextId ? blockId - m_NextId : m_FailedSinceGood);
        lastBlockId = blockId;
        m_NextId = blockId + 1;
        m_FailedSinceGood = m_FailedBefore = 0;
        m_HasGoodBlock = true;
    }

private:
    // of the stream's thread
    bool m_HasGoodBlock = false;
    std::uint64_t m_NextId = 0;
    std::uint64_t m_FailedSinceGood = 0; ///< and since the last restart
    std::uint64_t m_FailedBefore = 0;    ///< since the last good one, but before the last restart
};

} // namespace vexlo
