#include "gentl/stream/Buffer.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "u3v/StreamPacket.h"

#include <algorithm>
#include <optional>

namespace gentl {
namespace {

using Record = Buffer::Record;

constexpr std::uint64_t kUnknownBlock = ~std::uint64_t(0); // neither leader nor trailer told its ID

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

bool IsWhole(const Record& record) {
    return record.result.Status == vexlo::VX_OK;
}

/// Bytes of an image of so many lines; none when the format does not tell.
std::optional<std::uint64_t> BytesOf(const Record& record, std::uint32_t lines) {
    u3v::Leader leader;
    leader.payloadType = u3v::kPayloadImage;
    leader.pixelFormat = record.result.PixelFormat;
    leader.sizeX = record.result.G2;
    leader.paddingX = record.result.H2;
    return u3v::ImageSize(leader, lines);
}

/// Bytes of the image alone, padding included; what arrived when the format does not tell.
size_t ImageBytes(const Record& record, size_t room) {
    const size_t filled = Filled(record, room);
    const auto bytes = BytesOf(record, IsWhole(record) ? record.result.G1 : record.result.AnnouncedG1);
    return bytes ? static_cast<size_t>(std::min<std::uint64_t>(*bytes, filled)) : filled;
}

/// Of an image that is not whole, the lines that came.
std::uint32_t DeliveredLines(const Record& record, size_t room) {
    const std::uint32_t announced = record.result.AnnouncedG1;
    const auto bytes = BytesOf(record, announced);
    if (IsWhole(record) || !bytes || *bytes < announced || announced == 0) return record.result.G1;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(Filled(record, room) / (*bytes / announced), announced));
}

[[noreturn]] void NothingYet() {
    Fail(GC_ERR_NOT_AVAILABLE, "the buffer does not hold that");
}

/// What a buffer must hold for a figure to be there.
enum class Needs : std::uint16_t { Nothing, BlockId, Timestamp, Image, Chunks, File };

/// What a question about a buffer is answered with, unless it is a text. As small as two registers.
struct Figure {
    std::uint64_t value;
    std::uint16_t type; // an INFO_DATATYPE
    Needs needs;
};

Figure Number(std::uint64_t value, Needs needs = Needs::Nothing) {
    return {value, INFO_DATATYPE_UINT64, needs};
}

Figure Size(std::uint64_t value, Needs needs = Needs::Nothing) {
    return {value, INFO_DATATYPE_SIZET, needs};
}

Figure Truth(bool value) {
    return {value, INFO_DATATYPE_BOOL8, Needs::Nothing};
}

Figure Address(const void* value) {
    return {reinterpret_cast<std::uintptr_t>(value), INFO_DATATYPE_PTR, Needs::Nothing};
}

bool Has(const Record& record, Needs needs) {
    switch (needs) {
    case Needs::Nothing:
        return true;
    case Needs::BlockId:
        return record.hasData && record.result.BlockId != kUnknownBlock;
    case Needs::Timestamp:
        return record.hasData && u3v::HasTimestamp(record.result.PayloadType);
    case Needs::Image:
        return HasImage(record);
    case Needs::Chunks:
        return HasChunks(record);
    default:
        return false; // no camera of this kind sends files
    }
}

void Tell(const Record& record, const Figure& figure, Answer& answer) {
    if (!Has(record, figure.needs)) NothingYet();
    answer.Number(figure.type, figure.value);
}

/// Consumers ask a dozen of these for each image, one call each, long after they asked last: what counts is how little
/// code they run through, so each question has as little of its own as can be.
Figure FigureOf(const Buffer& buffer, const Record& record, BUFFER_INFO_CMD command) {
    const auto& result = record.result;
    switch (command) {
    case BUFFER_INFO_BASE:
        return Address(buffer.data);
    case BUFFER_INFO_SIZE:
        return Size(buffer.size);
    case BUFFER_INFO_USER_PTR:
        return Address(buffer.userPointer);
    case BUFFER_INFO_TIMESTAMP:
    case BUFFER_INFO_TIMESTAMP_NS:
        return Number(result.Timestamp, Needs::Timestamp);
    case BUFFER_INFO_NEW_DATA:
        return Truth(record.isNew);
    case BUFFER_INFO_IS_QUEUED:
        return Truth(record.isQueued);
    case BUFFER_INFO_IS_ACQUIRING:
        return Truth(record.isOnBus && !record.hasData);
    case BUFFER_INFO_IS_INCOMPLETE:
        return Truth(record.hasData && result.Status != vexlo::VX_OK);
    case BUFFER_INFO_SIZE_FILLED:
    case BUFFER_INFO_DATA_SIZE:
        return Size(Filled(record, buffer.size));
    case BUFFER_INFO_WIDTH:
        return Size(result.G2, Needs::Image);
    case BUFFER_INFO_HEIGHT:
        return Size(result.AnnouncedG1, Needs::Image);
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return Size(DeliveredLines(record, buffer.size), Needs::Image);
    case BUFFER_INFO_XOFFSET:
        return Size(result.G3, Needs::Image);
    case BUFFER_INFO_YOFFSET:
        return Size(result.G4, Needs::Image);
    case BUFFER_INFO_XPADDING:
        return Size(result.H2, Needs::Image);
    case BUFFER_INFO_YPADDING:
        return Size(result.H1, Needs::Image);
    case BUFFER_INFO_FRAMEID:
        return Number(result.BlockId, Needs::BlockId);
    case BUFFER_INFO_IMAGEPRESENT:
        return Truth(HasImage(record));
    case BUFFER_INFO_IMAGEOFFSET:
        return Size(0, Needs::Image);
    case BUFFER_INFO_PAYLOADTYPE:
        return Size(PayloadType(record));
    case BUFFER_INFO_PIXELFORMAT:
        return Number(result.PixelFormat, Needs::Image);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return Number(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
        return Size(Filled(record, buffer.size), Needs::Chunks);
    case BUFFER_INFO_CHUNKLAYOUTID:
        return Number(result.ChunkLayoutId, Needs::Chunks);
    case BUFFER_INFO_FILENAME:
        return Size(0, Needs::File);
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return {PIXELENDIANNESS_LITTLE, INFO_DATATYPE_INT32, Needs::Nothing};
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
        return Truth(record.hasData && result.Status == vexlo::VX_E_BUFFER_TOO_SMALL);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return Truth(HasChunks(record));
    case BUFFER_INFO_IS_COMPOSITE:
        return Truth(false);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a buffer");
    }
}

Figure FigureOfPart(const Buffer& buffer, const Record& record, BUFFER_PART_INFO_CMD command) {
    const auto& result = record.result;
    switch (command) {
    case BUFFER_PART_INFO_BASE:
        return Address(buffer.data);
    case BUFFER_PART_INFO_DATA_SIZE:
        return Size(ImageBytes(record, buffer.size));
    case BUFFER_PART_INFO_DATA_TYPE:
        return Size(PART_DATATYPE_2D_IMAGE);
    case BUFFER_PART_INFO_DATA_FORMAT:
        return Number(result.PixelFormat);
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        return Number(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_PART_INFO_WIDTH:
        return Size(result.G2);
    case BUFFER_PART_INFO_HEIGHT:
        return Size(result.AnnouncedG1);
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
        return Size(DeliveredLines(record, buffer.size));
    case BUFFER_PART_INFO_XOFFSET:
        return Size(result.G3);
    case BUFFER_PART_INFO_YOFFSET:
        return Size(result.G4);
    case BUFFER_PART_INFO_XPADDING:
        return Size(result.H2);
    case BUFFER_PART_INFO_SOURCE_ID:
    case BUFFER_PART_INFO_REGION_ID:
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        return Number(0);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a part");
    }
}

} // namespace

[[gnu::hot]] void BufferInfo(const Buffer& buffer, const Record& record, BUFFER_INFO_CMD command, Answer& answer) {
    if (command == BUFFER_INFO_TLTYPE) return answer.String(kTechnology);
    Tell(record, FigureOf(buffer, record, command), answer);
}

uint32_t CountParts(const Record& record) {
    if (!HasImage(record)) Fail(GC_ERR_NO_DATA, "the buffer holds no image");
    return 1;
}

void BufferPartInfo(const Buffer& buffer, const Record& record, uint32_t part, BUFFER_PART_INFO_CMD command,
                    Answer& answer) {
    if (part >= CountParts(record)) Fail(GC_ERR_INVALID_INDEX, "the buffer has one part");
    Tell(record, FigureOfPart(buffer, record, command), answer);
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
