// Event messages of the camera.
#include "u3v/EventPacket.h"

#include "u3v/LittleEndian.h"

#include <cstring>

namespace u3v {
namespace {

// Offsets within an entry.
constexpr std::size_t kEntryIdOffset = 2;
constexpr std::size_t kEntryTimestampOffset = 4;

} // namespace

std::optional<EventPacket> DecodeEvent(ByteView bytes) {
    if (bytes.size < event::kSmallestSize) return std::nullopt;
    if (Load32(bytes.data + control::kMagicOffset) != kEventMagic) return std::nullopt;
    if (Load16(bytes.data + control::kCommandOffset) != kEventCommand) return std::nullopt;
    const std::size_t length = Load16(bytes.data + control::kLengthOffset);
    if (length < event::kEntryHeaderSize || length > bytes.size - event::kHeaderSize) return std::nullopt;
    EventPacket packet;
    packet.flags = Load16(bytes.data + control::kFlagsOffset);
    packet.requestId = Load16(bytes.data + control::kRequestIdOffset);
    packet.entries = bytes.From(event::kHeaderSize).First(length);
    packet.firstId = Load16(packet.entries.data + kEntryIdOffset);
    return packet;
}

std::optional<EventEntry> TakeEventEntry(ByteView& entries) {
    const ByteView rest = entries;
    entries = ByteView();
    if (rest.size < event::kEntryHeaderSize) return std::nullopt;
    const std::size_t stated = Load16(rest.data);
    const std::size_t size = stated == 0 ? rest.size : stated;
    if (size < event::kEntryHeaderSize || size > rest.size) return std::nullopt;
    EventEntry entry;
    entry.id = Load16(rest.data + kEntryIdOffset);
    entry.timestamp = Load64(rest.data + kEntryTimestampOffset);
    entry.bytes = rest.First(size);
    entry.data = entry.bytes.From(event::kEntryHeaderSize);
    entries = rest.From(size);
    return entry;
}

std::optional<std::size_t> EncodeSingleEvent(const EventPacket& packet, const EventEntry& entry, std::uint8_t* message,
                                             std::size_t capacity) {
    const std::size_t size = event::kHeaderSize + entry.bytes.size;
    if (size > capacity || entry.bytes.size > UINT16_MAX) return std::nullopt;
    Store32(message + control::kMagicOffset, kEventMagic);
    Store16(message + control::kFlagsOffset, packet.flags);
    Store16(message + control::kCommandOffset, kEventCommand);
    Store16(message + control::kLengthOffset, static_cast<std::uint16_t>(entry.bytes.size));
    Store16(message + control::kRequestIdOffset, packet.requestId);
    std::memcpy(message + event::kHeaderSize, entry.bytes.data, entry.bytes.size);
    Store16(message + event::kSizeOffset, 0);
    return size;
}

} // namespace u3v
