#pragma once
// Leader and trailer, which stand before and behind the payload of every block.

#include "u3v/ByteView.h"
#include "u3v/Constants.h"

#include <optional>

namespace u3v {

/// True when the bytes begin with the magic of a leader (trailer). Cheap; for judging what a transfer holds.
bool HasLeaderMagic(ByteView bytes);
bool HasTrailerMagic(ByteView bytes);

struct Leader {
    std::uint16_t size = 0; ///< stated size of the leader
    std::uint64_t blockId = 0;
    std::uint16_t payloadType = 0;
    std::uint64_t timestamp = 0; ///< ns; 0 for payload types that we don't know
    // Only with IsImage().
    std::uint32_t pixelFormat = 0;
    std::uint32_t sizeX = 0;
    std::uint32_t sizeY = 0; ///< upper limit; the trailer tells the truth
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint16_t paddingX = 0;

    bool IsImage() const { return payloadType == kPayloadImage || payloadType == kPayloadImageExtendedChunk; }
};

/// Nothing when the magic is wrong, when fewer bytes arrived than the leader states, or when it states fewer than its
/// payload type needs. Payload types that we don't know need the 20 bytes that all leaders begin with.
std::optional<Leader> DecodeLeader(ByteView bytes);
/// Whether leaders of that payload type have one.
bool HasTimestamp(std::uint16_t payloadType);

struct Trailer {
    std::uint16_t size = 0; ///< stated size of the trailer
    std::uint64_t blockId = 0;
    std::uint16_t status = 0;
    std::uint64_t validPayloadSize = 0;
    std::optional<std::uint32_t> sizeY;         ///< lines really delivered, of an image
    std::optional<std::uint32_t> chunkLayoutId; ///< of payloads with chunks
};

/// Nothing when the magic is wrong, when fewer bytes arrived than the trailer states, or when it states fewer than 28.
/// What the payload type adds is optional: some cameras leave it out.
std::optional<Trailer> DecodeTrailer(ByteView bytes, std::uint16_t payloadType);

/// Bytes of an image with these dimensions, line padding included; nothing for vendor-specific pixel formats and when
/// the number does not fit 64 bits.
std::optional<std::uint64_t> ImageSize(const Leader& leader, std::uint32_t lines);

} // namespace u3v
