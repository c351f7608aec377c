#pragma once
// How a block is cut into transfers.
//
//   | leader | S | S | ... | S | F1 | F2 | trailer |
//
// All sizes are multiples of one aligned unit, so that no camera can send more than a transfer takes. F2 is at most one
// unit: it holds the tail that would not fit a buffer which is as large as the payload and no larger. The rest, C times
// S and F1, lands in such a buffer as it is.

#include <algorithm>
#include <cstdint>
#include <optional>

namespace u3v {

struct TransferPlan {
    std::uint32_t leaderSize = 0;
    std::uint32_t payloadSize = 0;  ///< S
    std::uint32_t payloadCount = 0; ///< C
    std::uint32_t final1Size = 0;   ///< F1, 0 when there is none
    std::uint32_t final2Size = 0;   ///< F2, 0 when there is none
    std::uint32_t trailerSize = 0;
    std::uint64_t requiredSize = 0; ///< payload that the plan was made for

    /// Number of payload transfers.
    std::uint32_t PayloadTransfers() const { return payloadCount + (final1Size != 0) + (final2Size != 0); }
    /// Size of the longest of them.
    std::uint32_t LongestPayload() const {
        return std::max({payloadCount != 0 ? payloadSize : 0, final1Size, final2Size});
    }
    /// Payload bytes before F2.
    std::uint64_t DirectSize() const { return std::uint64_t{payloadSize} * payloadCount + final1Size; }
    /// Most payload bytes that a block may bring.
    std::uint64_t Capacity() const { return DirectSize() + final2Size; }
};

struct TransferNeeds {
    std::uint64_t payloadSize = 0;       ///< required payload size; 0 is refused
    std::uint32_t leaderSize = 0;        ///< required leader size; 0 when the camera does not tell
    std::uint32_t trailerSize = 0;       ///< required trailer size; 0 when the camera does not tell
    std::uint32_t alignmentExponent = 0; ///< as the camera tells; an absurd one counts as none
    std::uint16_t packetSize = 0;        ///< of the endpoint
    std::uint32_t maxTransferSize = 0;   ///< setting
};

/// The unit that all sizes are multiples of.
std::uint32_t AlignedUnit(const TransferNeeds& needs);

/// Nothing when the payload is 0 or no plan can hold it.
std::optional<TransferPlan> MakeTransferPlan(const TransferNeeds& needs);

} // namespace u3v
