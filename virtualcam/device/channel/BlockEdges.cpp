#include "virtualcam/device/channel/BlockEdges.h"

#include "virtualcam/device/Protocol.h"

#include <algorithm>

namespace virtualcam {
namespace {

constexpr std::uint16_t kImagePayload = 0x0001;
constexpr std::uint16_t kExtendedChunkPayload = 0x4001;
constexpr std::uint16_t kLeaderSize = 52;
constexpr std::uint16_t kTrailerSize = 32;
constexpr std::uint16_t kChunkTrailerSize = 36;
constexpr std::uint32_t kWrongMagic = 0x58563355; // "U3VX"

} // namespace

void WriteLeader(Bytes& leader, const Frame& frame, std::uint32_t height, const BlockFaults& faults) {
    const Geometry& geometry = frame.geometry;
    leader.clear();
    Append<std::uint32_t>(leader, faults.Has(StreamFault::LeaderMagic) ? kWrongMagic : kLeaderMagic);
    Append<std::uint16_t>(leader, 0);
    const StreamFaultRule* longer = faults.Find(StreamFault::LongLeader);
    const std::size_t size = kLeaderSize + (longer != nullptr ? longer->value : 0);
    Append<std::uint16_t>(leader, static_cast<std::uint16_t>(size));
    Append<std::uint64_t>(leader, frame.blockId);
    Append<std::uint16_t>(leader, 0);
    const StreamFaultRule* type = faults.Find(StreamFault::PayloadType);
    const std::uint32_t known = frame.chunks.active ? kExtendedChunkPayload : kImagePayload;
    Append<std::uint16_t>(leader, static_cast<std::uint16_t>(type != nullptr ? type->value : known));
    Append<std::uint64_t>(leader, frame.values.timestamp);
    Append<std::uint32_t>(leader, static_cast<std::uint32_t>(geometry.format));
    Append<std::uint32_t>(leader, geometry.width);
    Append<std::uint32_t>(leader, height);
    Append<std::uint32_t>(leader, geometry.offsetX);
    Append<std::uint32_t>(leader, geometry.offsetY);
    Append<std::uint32_t>(leader, 0); // no bytes at the ends of lines, and reserved
    leader.resize(size);
}

void WriteTrailer(Bytes& trailer, const Frame& frame, std::uint16_t status, std::uint64_t validBytes,
                  const BlockFaults& faults) {
    // A camera that loses part of its payload unawares still tells the full height.
    const bool unaware = faults.Has(StreamFault::Truncated);
    const std::uint64_t delivered = validBytes / frame.geometry.LineBytes();
    const std::uint64_t lines =
        unaware ? frame.geometry.height : std::min<std::uint64_t>(frame.geometry.height, delivered);
    trailer.clear();
    Append<std::uint32_t>(trailer, faults.Has(StreamFault::TrailerMagic) ? kWrongMagic : kTrailerMagic);
    Append<std::uint16_t>(trailer, 0);
    Append<std::uint16_t>(trailer, frame.chunks.active ? kChunkTrailerSize : kTrailerSize);
    Append<std::uint64_t>(trailer, frame.blockId + (faults.Has(StreamFault::IdMismatch) ? 1 : 0));
    Append<std::uint16_t>(trailer, status);
    Append<std::uint16_t>(trailer, 0);
    Append<std::uint64_t>(trailer, faults.Has(StreamFault::ZeroValidSize) ? 0 : validBytes);
    Append<std::uint32_t>(trailer, static_cast<std::uint32_t>(lines));
    if (frame.chunks.active) Append<std::uint32_t>(trailer, frame.chunks.LayoutId());
}

} // namespace virtualcam
