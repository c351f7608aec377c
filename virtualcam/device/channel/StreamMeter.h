#pragma once
// How a host keeps up with a stream: when blocks ended, and how long the stream then waited for the next transfer.

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "virtualcam/Bytes.h"
#include "virtualcam/firmware/Clock.h"

namespace virtualcam {

/// Counts since the stream was enabled. Bound to a thread; its owner locks.
class StreamMeter {
public:
    /// Bytes of Figures.
    static constexpr std::size_t kSize = 0xA0;

    /// A transfer of the host is there.
    void Asked(TimePoint now) {
        if (!m_Ended) return;
        const auto waited = Nanoseconds(now - *m_Ended);
        m_Ended.reset();
        m_Waited += waited;
        if (m_InBlock) return;
        m_Longest = std::max(m_Longest, waited);
        ++m_Gaps[Bucket(waited)];
    }
    bool IsWaiting() const { return m_Ended.has_value(); }
    enum class End { Transfer, Block };
    void Ended(End end, TimePoint now) {
        m_Ended = now;
        m_InBlock = end == End::Transfer;
        if (m_InBlock) return;
        ++m_Blocks;
        m_LastBlock = Nanoseconds(now.time_since_epoch());
    }

    /// Little-endian: number of blocks; end of the last one on this computer's steady clock; all time in which no
    /// transfer was there; the longest of these times between two blocks (each 8 bytes, times in nanoseconds); 32
    /// numbers of 4 bytes: how many times between two blocks were from 2^i to below 2^(i+1) ns (i = 0: and below).
    Bytes Figures() const {
        Bytes bytes;
        for (const std::uint64_t value : {m_Blocks, m_LastBlock, m_Waited, m_Longest})
            Append(bytes, value);
        for (const std::uint32_t count : m_Gaps)
            Append(bytes, count);
        return bytes;
    }

private:
    std::optional<TimePoint> m_Ended; // the last transfer, while there is no next one
    bool m_InBlock = false;
    std::uint64_t m_Blocks = 0;
    std::uint64_t m_LastBlock = 0;
    std::uint64_t m_Waited = 0;
    std::uint64_t m_Longest = 0;
    std::array<std::uint32_t, 32> m_Gaps{};

    static std::uint64_t Nanoseconds(TimePoint::duration time) {
        return static_cast<std::uint64_t>(std::chrono::nanoseconds(time).count());
    }
    std::size_t Bucket(std::uint64_t time) const {
        std::size_t bucket = 0;
        while (bucket + 1 < m_Gaps.size() && time >> (bucket + 1) != 0)
            ++bucket;
        return bucket;
    }
};

} // namespace virtualcam
