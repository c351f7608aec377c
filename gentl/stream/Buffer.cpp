#include "gentl/stream/Buffer.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "u3v/StreamPacket.h"

#include <algorithm>

namespace gentl {
namespace {

using Record = Buffer::Record;

bool HasImage(const Record& record) {
    const std::uint16_t type = record.result.PayloadType;
    return record.hasData && (type == u3v::kPayloadImage || type == u3v::kPayloadImageExtendedChunk);
}

bool HasChunks(const Record& record) {
    const std::uint16_t type = record.result.PayloadType;
    return record.hasData && (type == u3v::kPayloadChunk || type == u3v::kPayloadImageExtendedChunk);
}

size_t Filled(const Record& record, size_t room) {
    if (!record.hasData || record.result.SizeUnknown != 0) return 0;
    return static_cast<size_t>(std::min<std::uint64_t>(record.result.PayloadSize, room));
}

size_t PayloadType(const Record& record) {
    if (HasImage(record)) return PAYLOAD_TYPE_IMAGE;
    if (HasChunks(record)) return PAYLOAD_TYPE_CHUNK_ONLY;
    return PAYLOAD_TYPE_UNKNOWN;
}

/// Bytes of the image alone, padding included; what arrived when the format does not tell.
size_t ImageBytes(const Record& record, size_t room) {
    u3v::Leader leader;
    leader.payloadType = u3v::kPayloadImage;
    leader.pixelFormat = record.result.PixelFormat;
    leader.sizeX = record.result.G2;
    leader.paddingX = record.result.H2;
    const size_t filled = Filled(record, room);
    const auto bytes = u3v::ImageSize(leader, record.result.G1);
    return bytes ? static_cast<size_t>(std::min<std::uint64_t>(*bytes, filled)) : filled;
}

[[noreturn]] void NothingYet() {
    Fail(GC_ERR_NOT_AVAILABLE, "the buffer does not hold that");
}

size_t OfImage(const Record& record, std::uint32_t value) {
    if (!HasImage(record)) NothingYet();
    return value;
}

std::uint64_t OfData(const Record& record, std::uint64_t value) {
    if (!record.hasData) NothingYet();
    return value;
}

std::uint64_t OfChunks(const Record& record, std::uint64_t value) {
    if (!HasChunks(record)) NothingYet();
    return value;
}

} // namespace

/// Consumers ask a dozen of these for each image, one call each, long after they asked last: what counts is how little
/// code they run through.
void BufferInfo(const Buffer& buffer, const Record& record, BUFFER_INFO_CMD command, Answer& answer) {
    const auto& result = record.result;
    switch (command) {
    case BUFFER_INFO_BASE:
        return answer.Pointer(buffer.data);
    case BUFFER_INFO_SIZE:
        return answer.Size(buffer.size);
    case BUFFER_INFO_USER_PTR:
        return answer.Pointer(buffer.userPointer);
    case BUFFER_INFO_TIMESTAMP:
    case BUFFER_INFO_TIMESTAMP_NS:
        return answer.Uint64(OfData(record, result.Timestamp));
    case BUFFER_INFO_NEW_DATA:
        return answer.Bool(record.isNew);
    case BUFFER_INFO_IS_QUEUED:
        return answer.Bool(record.isQueued);
    case BUFFER_INFO_IS_ACQUIRING:
        return answer.Bool(record.isOnBus && !record.hasData);
    case BUFFER_INFO_IS_INCOMPLETE:
        return answer.Bool(record.hasData && result.Status != vexlo::VX_OK);
    case BUFFER_INFO_TLTYPE:
        return answer.String(kTechnology);
    case BUFFER_INFO_SIZE_FILLED:
    case BUFFER_INFO_DATA_SIZE:
        return answer.Size(Filled(record, buffer.size));
    case BUFFER_INFO_WIDTH:
        return answer.Size(OfImage(record, result.G2));
    case BUFFER_INFO_HEIGHT:
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return answer.Size(OfImage(record, result.G1));
    case BUFFER_INFO_XOFFSET:
        return answer.Size(OfImage(record, result.G3));
    case BUFFER_INFO_YOFFSET:
        return answer.Size(OfImage(record, result.G4));
    case BUFFER_INFO_XPADDING:
        return answer.Size(OfImage(record, result.H2));
    case BUFFER_INFO_YPADDING:
        return answer.Size(OfImage(record, result.H1));
    case BUFFER_INFO_FRAMEID:
        return answer.Uint64(OfData(record, result.BlockId));
    case BUFFER_INFO_IMAGEPRESENT:
        return answer.Bool(HasImage(record));
    case BUFFER_INFO_IMAGEOFFSET:
        return answer.Size(OfImage(record, 0));
    case BUFFER_INFO_PAYLOADTYPE:
        return answer.Size(PayloadType(record));
    case BUFFER_INFO_PIXELFORMAT:
        return answer.Uint64(OfImage(record, result.PixelFormat));
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return answer.Uint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
        return answer.Size(OfChunks(record, Filled(record, buffer.size)));
    case BUFFER_INFO_CHUNKLAYOUTID:
        return answer.Uint64(OfChunks(record, result.ChunkLayoutId));
    case BUFFER_INFO_FILENAME:
        NothingYet();
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return answer.Int32(PIXELENDIANNESS_LITTLE);
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
        return answer.Bool(record.hasData && result.Status == vexlo::VX_E_BUFFER_TOO_SMALL);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return answer.Bool(HasChunks(record));
    case BUFFER_INFO_IS_COMPOSITE:
        return answer.Bool(false);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a buffer");
    }
}

uint32_t CountParts(const Record& record) {
    if (!HasImage(record)) Fail(GC_ERR_NO_DATA, "the buffer holds no image");
    return 1;
}

void BufferPartInfo(const Buffer& buffer, const Record& record, uint32_t part, BUFFER_PART_INFO_CMD command,
                    Answer& answer) {
    if (part >= CountParts(record)) Fail(GC_ERR_INVALID_INDEX, "the buffer has one part");
    const auto& result = record.result;
    switch (command) {
    case BUFFER_PART_INFO_BASE:
        return answer.Pointer(buffer.data);
    case BUFFER_PART_INFO_DATA_SIZE:
        return answer.Size(ImageBytes(record, buffer.size));
    case BUFFER_PART_INFO_DATA_TYPE:
        return answer.Size(PART_DATATYPE_2D_IMAGE);
    case BUFFER_PART_INFO_DATA_FORMAT:
        return answer.Uint64(result.PixelFormat);
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        return answer.Uint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_PART_INFO_WIDTH:
        return answer.Size(result.G2);
    case BUFFER_PART_INFO_HEIGHT:
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
        return answer.Size(result.G1);
    case BUFFER_PART_INFO_XOFFSET:
        return answer.Size(result.G3);
    case BUFFER_PART_INFO_YOFFSET:
        return answer.Size(result.G4);
    case BUFFER_PART_INFO_XPADDING:
        return answer.Size(result.H2);
    case BUFFER_PART_INFO_SOURCE_ID:
    case BUFFER_PART_INFO_REGION_ID:
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        return answer.Uint64(0);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a part");
    }
}

Contents ContentsOf(const Buffer& buffer, const Record& record) {
    return {record, static_cast<const std::uint8_t*>(buffer.data), buffer.size, buffer.own};
}

/// Each chunk is followed by its ID and its length, so the walk goes from the end to the beginning.
std::vector<SINGLE_CHUNK_DATA> ChunksOf(const Contents& contents) {
    if (!HasChunks(contents.record)) Fail(GC_ERR_NO_DATA, "the buffer holds no chunk data");
    const std::uint8_t* const data = contents.data;
    std::vector<SINGLE_CHUNK_DATA> chunks;
    for (size_t end = Filled(contents.record, contents.size); end > 0;) {
        if (end < u3v::chunk::kTrailerSize) Fail(GC_ERR_PARSING_CHUNK_DATA, "the chunk data are broken");
        const std::uint32_t id = u3v::Load32(data + end - u3v::chunk::kIdFromEnd);
        const std::uint32_t length = u3v::Load32(data + end - u3v::chunk::kLengthFromEnd);
        end -= u3v::chunk::kTrailerSize;
        if (length > end) Fail(GC_ERR_PARSING_CHUNK_DATA, "the chunk data are broken");
        end -= length;
        if (chunks.size() == kMostChunks)
            Fail(GC_ERR_PARSING_CHUNK_DATA, "there are more chunks than a block can have");
        chunks.push_back({id, static_cast<ptrdiff_t>(end), length});
    }
    std::reverse(chunks.begin(), chunks.end());
    return chunks;
}

} // namespace gentl
