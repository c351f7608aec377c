#include "gentl/stream/Buffer.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "u3v/StreamPacket.h"

#include <algorithm>
#include <iterator>

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

/// Consumers ask a dozen of these for each image, one call each: a table answers at the same price wherever one stands.
struct Question {
    BUFFER_INFO_CMD command;
    void (*answer)(const Buffer& buffer, const Record& record, Answer& answer);
};
constexpr Question kQuestions[] = {
    {BUFFER_INFO_BASE, [](const Buffer& b, const Record&, Answer& a) { a.Pointer(b.data); }},
    {BUFFER_INFO_SIZE, [](const Buffer& b, const Record&, Answer& a) { a.Size(b.size); }},
    {BUFFER_INFO_USER_PTR, [](const Buffer& b, const Record&, Answer& a) { a.Pointer(b.userPointer); }},
    {BUFFER_INFO_TIMESTAMP, [](const Buffer&, const Record& r, Answer& a) { a.Uint64(OfData(r, r.result.Timestamp)); }},
    {BUFFER_INFO_NEW_DATA, [](const Buffer&, const Record& r, Answer& a) { a.Bool(r.isNew); }},
    {BUFFER_INFO_IS_QUEUED, [](const Buffer&, const Record& r, Answer& a) { a.Bool(r.isQueued); }},
    {BUFFER_INFO_IS_ACQUIRING, [](const Buffer&, const Record& r, Answer& a) { a.Bool(r.isOnBus && !r.hasData); }},
    {BUFFER_INFO_IS_INCOMPLETE,
     [](const Buffer&, const Record& r, Answer& a) { a.Bool(r.hasData && r.result.Status != vexlo::VX_OK); }},
    {BUFFER_INFO_TLTYPE, [](const Buffer&, const Record&, Answer& a) { a.String(kTechnology); }},
    {BUFFER_INFO_SIZE_FILLED, [](const Buffer& b, const Record& r, Answer& a) { a.Size(Filled(r, b.size)); }},
    {BUFFER_INFO_WIDTH, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.G2)); }},
    {BUFFER_INFO_HEIGHT, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.G1)); }},
    {BUFFER_INFO_XOFFSET, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.G3)); }},
    {BUFFER_INFO_YOFFSET, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.G4)); }},
    {BUFFER_INFO_XPADDING, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.H2)); }},
    {BUFFER_INFO_YPADDING, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.H1)); }},
    {BUFFER_INFO_FRAMEID, [](const Buffer&, const Record& r, Answer& a) { a.Uint64(OfData(r, r.result.BlockId)); }},
    {BUFFER_INFO_IMAGEPRESENT, [](const Buffer&, const Record& r, Answer& a) { a.Bool(HasImage(r)); }},
    {BUFFER_INFO_IMAGEOFFSET, [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, 0)); }},
    {BUFFER_INFO_PAYLOADTYPE, [](const Buffer&, const Record& r, Answer& a) { a.Size(PayloadType(r)); }},
    {BUFFER_INFO_PIXELFORMAT,
     [](const Buffer&, const Record& r, Answer& a) { a.Uint64(OfImage(r, r.result.PixelFormat)); }},
    {BUFFER_INFO_PIXELFORMAT_NAMESPACE,
     [](const Buffer&, const Record&, Answer& a) { a.Uint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT); }},
    {BUFFER_INFO_DELIVERED_IMAGEHEIGHT,
     [](const Buffer&, const Record& r, Answer& a) { a.Size(OfImage(r, r.result.G1)); }},
    {BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE,
     [](const Buffer& b, const Record& r, Answer& a) { a.Size(OfChunks(r, Filled(r, b.size))); }},
    {BUFFER_INFO_CHUNKLAYOUTID,
     [](const Buffer&, const Record& r, Answer& a) { a.Uint64(OfChunks(r, r.result.ChunkLayoutId)); }},
    {BUFFER_INFO_FILENAME, [](const Buffer&, const Record&, Answer&) { NothingYet(); }},
    {BUFFER_INFO_PIXEL_ENDIANNESS, [](const Buffer&, const Record&, Answer& a) { a.Int32(PIXELENDIANNESS_LITTLE); }},
    {BUFFER_INFO_DATA_SIZE, [](const Buffer& b, const Record& r, Answer& a) { a.Size(Filled(r, b.size)); }},
    {BUFFER_INFO_TIMESTAMP_NS,
     [](const Buffer&, const Record& r, Answer& a) { a.Uint64(OfData(r, r.result.Timestamp)); }},
    {BUFFER_INFO_DATA_LARGER_THAN_BUFFER,
     [](const Buffer&, const Record& r, Answer& a) {
         a.Bool(r.hasData && r.result.Status == vexlo::VX_E_BUFFER_TOO_SMALL);
     }},
    {BUFFER_INFO_CONTAINS_CHUNKDATA, [](const Buffer&, const Record& r, Answer& a) { a.Bool(HasChunks(r)); }},
    {BUFFER_INFO_IS_COMPOSITE, [](const Buffer&, const Record&, Answer& a) { a.Bool(false); }},
};

constexpr bool StandInOrder() {
    BUFFER_INFO_CMD next = 0;
    for (const Question& question : kQuestions)
        if (question.command != next++) return false;
    return true;
}
static_assert(StandInOrder(), "a command is the number of its row");

} // namespace

void BufferInfo(const Buffer& buffer, const Record& record, BUFFER_INFO_CMD command, Answer& answer) {
    if (command < 0 || static_cast<size_t>(command) >= std::size(kQuestions))
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a buffer");
    kQuestions[command].answer(buffer, record, answer);
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
