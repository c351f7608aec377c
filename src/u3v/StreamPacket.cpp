// Leader and trailer, which stand before and behind the payload of every block.
#include "u3v/StreamPacket.h"

#include "u3v/LittleEndian.h"

namespace u3v {
namespace {

bool HasMagic(ByteView bytes, std::uint32_t magic) {
    return bytes.size >= 4 && Load32(bytes.data) == magic;
}

std::size_t SmallestLeader(std::uint16_t payloadType) {
    switch (payloadType) {
    case kPayloadImage:
    case kPayloadImageExtendedChunk:
        return leader::kImageSize;
    case kPayloadChunk:
    case kPayloadGenDcContainer:
        return leader::kChunkSize;
    default:
        return leader::kGenericSize;
    }
}

void DecodeImage(const std::uint8_t* p, Leader& decoded) {
    decoded.pixelFormat = Load32(p + leader::kPixelFormatOffset);
    decoded.sizeX = Load32(p + leader::kSizeXOffset);
    decoded.sizeY = Load32(p + leader::kSizeYOffset);
    decoded.offsetX = Load32(p + leader::kOffsetXOffset);
    decoded.offsetY = Load32(p + leader::kOffsetYOffset);
    decoded.paddingX = Load16(p + leader::kPaddingXOffset);
}

} // namespace

bool HasLeaderMagic(ByteView bytes) {
    return HasMagic(bytes, kLeaderMagic);
}
bool HasTrailerMagic(ByteView bytes) {
    return HasMagic(bytes, kTrailerMagic);
}
[[gnu::hot]] bool HasTimestamp(std::uint16_t payloadType) {
    return SmallestLeader(payloadType) >= leader::kChunkSize;
}

[[gnu::hot]] std::optional<Leader> DecodeLeader(ByteView bytes) {
    if (bytes.size < leader::kGenericSize || !HasLeaderMagic(bytes)) return std::nullopt;
    Leader decoded;
    decoded.size = Load16(bytes.data + leader::kSizeOffset);
    decoded.blockId = Load64(bytes.data + leader::kBlockIdOffset);
    decoded.payloadType = Load16(bytes.data + leader::kPayloadTypeOffset);
    if (decoded.size > bytes.size || decoded.size < SmallestLeader(decoded.payloadType)) return std::nullopt;
    if (HasTimestamp(decoded.payloadType)) decoded.timestamp = Load64(bytes.data + leader::kTimestampOffset);
    if (decoded.IsImage()) DecodeImage(bytes.data, decoded);
    return decoded;
}

[[gnu::hot]] std::optional<Trailer> DecodeTrailer(ByteView bytes, std::uint16_t payloadType) {
    if (bytes.size < trailer::kGenericSize || !HasTrailerMagic(bytes)) return std::nullopt;
    Trailer decoded;
    decoded.size = Load16(bytes.data + trailer::kSizeOffset);
    decoded.blockId = Load64(bytes.data + trailer::kBlockIdOffset);
    decoded.status = Load16(bytes.data + trailer::kStatusOffset);
    decoded.validPayloadSize = Load64(bytes.data + trailer::kValidPayloadSizeOffset);
    if (decoded.size > bytes.size || decoded.size < trailer::kGenericSize) return std::nullopt;
    const bool extended = payloadType == kPayloadImageExtendedChunk;
    if ((extended || payloadType == kPayloadImage) && decoded.size >= trailer::kImageSize)
        decoded.sizeY = Load32(bytes.data + trailer::kSizeYOffset);
    if (extended && decoded.size >= trailer::kImageExtendedChunkSize)
        decoded.chunkLayoutId = Load32(bytes.data + trailer::kExtendedChunkLayoutIdOffset);
    if (payloadType == kPayloadChunk && decoded.size >= trailer::kChunkSize)
        decoded.chunkLayoutId = Load32(bytes.data + trailer::kChunkLayoutIdOffset);
    return decoded;
}

[[gnu::hot]] std::optional<std::uint64_t> ImageSize(const Leader& leader, std::uint32_t lines) {
    if (!leader.IsImage() || IsCustomPixelFormat(leader.pixelFormat)) return std::nullopt;
    const std::uint64_t pixels = std::uint64_t{leader.sizeX} * lines;
    const std::uint64_t bits = BitsPerPixel(leader.pixelFormat);
    if (bits != 0 && pixels > (UINT64_MAX - 7) / bits) return std::nullopt;
    const std::uint64_t data = (pixels * bits + 7) / 8;
    return data + std::uint64_t{lines} * leader.paddingX;
}

} // namespace u3v
