#pragma once
// How large a stream's transfers are and how many of them are queued at once.
//
// On Linux all queued transfers of all programs share one limited memory (16 MiB unless somebody raised it), and a
// transfer that goes beyond is refused. So a stream plans with its share, and lives with less when it is refused.

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vexlo {

/// Memory that all queued transfers of the system share, as this process sees it. Re-entrant.
struct TransferMemory {
    std::size_t limit = 0;    ///< bytes; 0: unknown or unlimited
    unsigned int streams = 1; ///< open streams of this process that share it
    std::size_t mapped = 0;   ///< bytes that buffers of this process take for good

    /// What one stream may plan with; a quarter is left to others. SIZE_MAX when there is no limit.
    std::size_t Share() const;
};

/// Counts the open streams on buses whose memory is limited. Thread-safe.
class StreamCount {
public:
    StreamCount() { ++s_Open; }
    ~StreamCount() { --s_Open; }
    StreamCount(const StreamCount&) = delete;
    StreamCount& operator=(const StreamCount&) = delete;
    static unsigned int Open() { return s_Open; }

private:
    static std::atomic<unsigned int> s_Open;
};

/// Counts the memory of buffers that the kernel maps, which is taken from the same limit. Thread-safe.
class MappedCount {
public:
    static void Add(std::size_t bytes) { s_Bytes += bytes; }
    static void Remove(std::size_t bytes) { s_Bytes -= bytes; }
    static std::size_t Bytes() { return s_Bytes; }

private:
    static std::atomic<std::size_t> s_Bytes;
};

/// The size of a stream's transfers: as the setting allows, smaller where memory is short, so that several can be
/// queued; larger where it is plenty and blocks are large, so that a block takes few of them. Re-entrant.
std::uint32_t SuitableTransferSize(std::uint32_t setting, std::uint64_t payload, const TransferMemory& memory);

/// What may be queued at once. After a refusal it shrinks to what the system took, and grows back: soon at first, more
/// and more seldom when that is refused again and again. Bound to a thread.
class TransferBudget {
public:
    struct Wishes {
        std::size_t transfers = 1; ///< most at once
        std::size_t bytes = 0;     ///< most at once, were there memory enough
        std::size_t limit = 0;     ///< of the system's memory; 0: unknown or unlimited
    };
    explicit TransferBudget(const Wishes& wishes);

    /// Whether one of `length` more may be queued beside `count` that take `bytes`. One always may.
    bool HasRoom(std::size_t count, std::size_t bytes, std::size_t length) const;
    /// The system took one; there are `count` now.
    void Accepted(std::size_t count);
    /// The system refused one beside `count` for want of memory.
    void Refused(std::size_t count);
    void BlockCompleted();
    /// The last one was refused.
    bool IsShort() const { return m_IsShort; }

private:
    void Tell(std::size_t count);

    Wishes m_Wishes;
    std::size_t m_Most;
    std::size_t m_RefusedBeside = SIZE_MAX;
    unsigned int m_RetryInterval; // blocks
    unsigned int m_BlocksToGo = 0;
    bool m_IsShort = false;
    bool m_Told = false;
};

} // namespace vexlo
