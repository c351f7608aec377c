// How a block is cut into transfers.
#include "u3v/TransferPlan.h"

#include "u3v/Constants.h"

#include <algorithm>

namespace u3v {
namespace {

constexpr std::uint32_t kLargestExponent = 20;
constexpr std::uint32_t kSmallestLeader = 64; ///< for cameras that don't tell; every leader and trailer fits
constexpr std::uint32_t kLargestTransfer = 0x40000000;

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit) {
    return (value + unit - 1) / unit * unit;
}
std::uint64_t RoundDown(std::uint64_t value, std::uint64_t unit) {
    return value / unit * unit;
}

} // namespace

std::uint32_t AlignedUnit(const TransferNeeds& needs) {
    const std::uint32_t packet = needs.packetSize != 0 ? needs.packetSize : descriptor::kSuperSpeedPacket;
    if (needs.alignmentExponent > kLargestExponent) return packet;
    const std::uint32_t alignment = 1u << needs.alignmentExponent;
    // Packet sizes are powers of two on every bulk endpoint that keeps to the rules; else the product serves.
    if (packet % alignment == 0) return packet;
    if (alignment % packet == 0) return alignment;
    const std::uint64_t product = std::uint64_t{alignment} * packet;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(product, UINT32_MAX)); // no plan can be made of more
}

std::optional<TransferPlan> MakeTransferPlan(const TransferNeeds& needs) {
    const std::uint64_t unit = AlignedUnit(needs);
    if (needs.payloadSize == 0) return std::nullopt;
    const std::uint64_t leader = RoundUp(std::max(needs.leaderSize, kSmallestLeader), unit);
    const std::uint64_t trailer = RoundUp(std::max(needs.trailerSize, kSmallestLeader), unit);
    const std::uint64_t largest = std::min(needs.maxTransferSize, kLargestTransfer);
    const std::uint64_t transfer = std::max(RoundDown(largest, unit), unit);
    const std::uint64_t count = needs.payloadSize / transfer;
    if (leader > kLargestTransfer || trailer > kLargestTransfer || count > UINT32_MAX / 2) return std::nullopt;

    const std::uint64_t rest = needs.payloadSize - count * transfer;
    TransferPlan plan;
    plan.requiredSize = needs.payloadSize;
    plan.leaderSize = static_cast<std::uint32_t>(leader);
    plan.trailerSize = static_cast<std::uint32_t>(trailer);
    plan.payloadSize = static_cast<std::uint32_t>(transfer);
    plan.payloadCount = static_cast<std::uint32_t>(count);
    plan.final1Size = static_cast<std::uint32_t>(RoundDown(rest, unit));
    plan.final2Size = static_cast<std::uint32_t>(rest == plan.final1Size ? 0 : unit);
    return plan;
}

} // namespace u3v
