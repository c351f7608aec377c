#pragma once
// How a host wants blocks cut into transfers.

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace virtualcam {

/// The sizes that the host programmed, frozen when stream enable was set.
struct StreamLayout {
    std::uint32_t maximumLeader = 0;
    std::uint32_t transferSize = 0;
    std::uint32_t transferCount = 0;
    std::uint32_t final1 = 0;
    std::uint32_t final2 = 0;
    std::uint32_t maximumTrailer = 0;

    std::uint64_t Capacity() const { return std::uint64_t{transferSize} * transferCount + final1 + final2; }
    std::uint32_t LargestTransfer() const { return std::max({transferSize, final1, final2}); }

    // Payload transfers; those of size 0 are left out.
    std::uint64_t Transfers() const { return EqualTransfers() + (final1 != 0 ? 1 : 0) + (final2 != 0 ? 1 : 0); }
    /// `index` is below Transfers().
    std::size_t TransferSize(std::uint64_t index) const {
        if (index < EqualTransfers()) return transferSize;
        return index == EqualTransfers() && final1 != 0 ? final1 : final2;
    }

private:
    std::uint64_t EqualTransfers() const { return transferSize != 0 ? transferCount : 0; }
};

} // namespace virtualcam
