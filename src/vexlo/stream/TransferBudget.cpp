#include "vexlo/stream/TransferBudget.h"

#include "vexlo/Logging.h"

#include <algorithm>

namespace vexlo {
namespace {

constexpr std::size_t kMebibyte = 1u << 20;
constexpr std::uint64_t kStep = 64u << 10;         ///< transfers are whole multiples, and work with every camera
constexpr std::uint64_t kOrdinary = kMebibyte;     ///< larger ones gain little
constexpr std::uint64_t kFewTransfers = 3;         ///< of a large block, where memory is plenty
constexpr std::size_t kPlenty = 64 * kMebibyte;    ///< for one stream
constexpr std::size_t kLeastAtOnce = 4;            ///< transfers, where memory is short
constexpr unsigned int kShortestRetryInterval = 4; ///< blocks from a refusal to the next try for more
constexpr unsigned int kLongestRetryInterval = 256;

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit) {
    return (value + unit - 1) / unit * unit;
}

} // namespace

std::atomic<unsigned int> StreamCount::s_Open{0};
std::atomic<std::size_t> MappedCount::s_Bytes{0};

std::size_t TransferMemory::Share() const {
    return limit == 0 ? SIZE_MAX : (limit - std::min(limit, mapped)) / 4 * 3 / std::max(1u, streams);
}

std::uint32_t SuitableTransferSize(std::uint32_t setting, std::uint64_t payload, const TransferMemory& memory) {
    const std::size_t share = memory.Share();
    std::uint64_t size = kOrdinary;
    if (share >= kPlenty) {
        size = std::max(size, RoundUp(payload / kFewTransfers + 1, kStep));
    } else {
        size = std::clamp<std::uint64_t>(share / kLeastAtOnce / kStep * kStep, kStep, size);
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, setting));
}

TransferBudget::TransferBudget(const Wishes& wishes)
    : m_Wishes(wishes), m_Most(std::max<std::size_t>(1, wishes.transfers)), m_RetryInterval(kShortestRetryInterval) {}

[[gnu::hot]] bool TransferBudget::HasRoom(std::size_t count, std::size_t bytes, std::size_t length) const {
    if (count == 0) return true;
    const std::size_t share = TransferMemory{m_Wishes.limit, StreamCount::Open(), MappedCount::Bytes()}.Share();
    return count < m_Most && bytes + length <= std::min(m_Wishes.bytes, share);
}

[[gnu::hot]] void TransferBudget::Accepted(std::size_t count) {
    m_IsShort = false;
    if (count <= m_RefusedBeside) return;
    m_RefusedBeside = SIZE_MAX; // there is more memory than there was
    m_RetryInterval = kShortestRetryInterval;
}

void TransferBudget::Refused(std::size_t count) {
    Tell(count);
    if (count >= m_RefusedBeside) m_RetryInterval = std::min(2 * m_RetryInterval, kLongestRetryInterval);
    m_IsShort = true;
    m_RefusedBeside = count;
    m_Most = std::max<std::size_t>(1, count);
    m_BlocksToGo = m_RetryInterval;
}

[[gnu::hot]] void TransferBudget::BlockCompleted() {
    if (m_Most >= m_Wishes.transfers || m_BlocksToGo-- > 1) return;
    m_Most = std::min(m_Wishes.transfers, m_Most + std::max<std::size_t>(1, m_Most / 2));
    m_BlocksToGo = m_RetryInterval;
}

/// Once: it may happen with every block.
void TransferBudget::Tell(std::size_t count) {
    if (m_Told) return;
    m_Told = true;
    const std::size_t streams = std::max(1u, StreamCount::Open());
    const std::size_t needed = RoundUp(streams * m_Wishes.bytes / 3 * 4, kMebibyte) / kMebibyte;
    const std::size_t advised = std::max(needed, 2 * (m_Wishes.limit / kMebibyte));
    if (m_Wishes.limit == 0) {
        Log(Tavix::kLogWarning, "The system takes no more than %u transfers of this stream now, for want of memory",
            static_cast<unsigned int>(count));
        return;
    }
    Log(Tavix::kLogWarning,
        "The system takes no more than %u transfers of this stream now. All programs share %u MiB for them; %u MiB are "
        "advised: echo %u > /sys/module/usbcore/parameters/usbfs_memory_mb",
        static_cast<unsigned int>(count), static_cast<unsigned int>(m_Wishes.limit / kMebibyte),
        static_cast<unsigned int>(advised), static_cast<unsigned int>(advised));
}

} // namespace vexlo
