#pragma once
// Event messages of the camera.
//
//   magic | flags | command id | length | request id | { size | event id | timestamp | data } ...
//
// There is one entry with size 0, or, when multi-event is enabled, several with their sizes.

#include "u3v/ByteView.h"
#include "u3v/Constants.h"

#include <optional>

namespace u3v {

/// Head of an event message and a view of its entries.
struct EventPacket {
    std::uint16_t flags = 0;
    std::uint16_t requestId = 0;
    std::uint16_t firstId = 0; ///< event id of the first entry, whatever size that states
    ByteView entries;
};

/// Nothing when there are fewer than 24 bytes, when magic or command id are wrong, or when fewer bytes arrived than the
/// message states. Bytes beyond the stated length are left out.
std::optional<EventPacket> DecodeEvent(ByteView bytes);

struct EventEntry {
    std::uint16_t id = 0;
    std::uint64_t timestamp = 0; ///< ns
    ByteView bytes;              ///< the whole entry, beginning with its size field
    ByteView data;
};

/// Takes the first entry off `entries`. Nothing at the end and at an entry with an impossible size; `entries` is empty
/// then.
std::optional<EventEntry> TakeEventEntry(ByteView& entries);

/// Writes one entry as a message of its own, its size field 0, to `message`, which has room for `capacity` bytes.
/// Its size, or nothing when it does not fit.
std::optional<std::size_t> EncodeSingleEvent(const EventPacket& packet, const EventEntry& entry, std::uint8_t* message,
                                             std::size_t capacity);

} // namespace u3v
