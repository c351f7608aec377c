#pragma once
// Commands to the camera and its acknowledges.
//
//   command      magic | flags  | command id | length | request id | address, data or count
//   acknowledge  magic | status | command id | length | request id | data

#include "u3v/ByteView.h"
#include "u3v/Constants.h"

#include <array>
#include <optional>

namespace u3v {

using ReadMemPacket = std::array<std::uint8_t, control::kReadMemCommandSize>;

/// Command that reads `count` bytes at `address`.
ReadMemPacket EncodeReadMem(std::uint16_t requestId, std::uint64_t address, std::uint16_t count);

/// Writes the command that writes `data` at `address` to `packet`, which has room for `capacity` bytes. Its size, or
/// nothing when it does not fit or the data is longer than a command can say.
std::optional<std::size_t> EncodeWriteMem(std::uint16_t requestId, std::uint64_t address, ByteView data,
                                          std::uint8_t* packet, std::size_t capacity);

/// Head of an acknowledge and a view of what follows it.
struct Acknowledge {
    std::uint16_t status = 0;
    std::uint16_t command = 0;
    std::uint16_t length = 0; ///< as the camera states it; `data` is what arrived, at most this long
    std::uint16_t requestId = 0;
    ByteView data;

    /// All that the head announces has arrived.
    bool IsWhole() const { return data.size == length; }
};

/// Nothing when there are fewer than 12 bytes or the magic is wrong. Bytes beyond the stated length are left out.
std::optional<Acknowledge> DecodeAcknowledge(ByteView bytes);

/// Time in ms that a pending acknowledge asks for; nothing when it is none or too short.
std::optional<std::uint16_t> DecodePendingTimeout(const Acknowledge& acknowledge);

/// Number of bytes that a write acknowledge says were written; nothing when it does not say.
std::optional<std::uint16_t> DecodeWrittenLength(const Acknowledge& acknowledge);

} // namespace u3v
