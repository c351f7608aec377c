#pragma once
// Settings of a stream and their limits.

#include <cstdint>

namespace vexlo {

struct StreamSettings {
    static constexpr std::uint32_t kMostQueuedUrbs = 4096;
    static constexpr std::uint32_t kSmallestTransfer = 16u << 10;
    /// Larger requests are refused by some host controller drivers and gain nothing. How much of this a stream makes
    /// use of depends on its blocks and on the system's memory, see SuitableTransferSize.
    static constexpr std::uint32_t kLargestTransfer = 4u << 20;
    static constexpr std::uint32_t kTransferIncrement = 1u << 10;
    static constexpr std::uint32_t kLongestFirstDataTimeout = 3600000;
    static constexpr std::int32_t kLowestPriority = 0; ///< ordinary scheduling
    static constexpr std::int32_t kHighestPriority = 99;

    std::uint32_t maxQueuedUrbs = 64;
    std::uint32_t maxTransferSize = kLargestTransfer;
    std::int32_t threadPriority = 0;
    /// Never, unless asked for: trying is switching the stream off and on, which may end the acquisition of a camera
    /// that merely waits for its trigger.
    std::uint32_t firstDataTimeout = 0;
};

} // namespace vexlo
