// Commands to the camera and its acknowledges.
#include "u3v/ControlPacket.h"

#include "u3v/LittleEndian.h"

#include <cstring>

namespace u3v {
namespace {

constexpr std::size_t kAddressOffset = control::kDataOffset;
constexpr std::size_t kReadCountOffset = control::kDataOffset + 10;
constexpr std::size_t kShortAnswerOffset = 2; ///< of the one 16-bit field in pending and write acknowledges
constexpr std::size_t kShortAnswerSize = 4;

void StoreHead(std::uint8_t* packet, std::uint16_t command, std::size_t length, std::uint16_t requestId) {
    Store32(packet + control::kMagicOffset, kControlMagic);
    Store16(packet + control::kFlagsOffset, control::kFlagRequestAck);
    Store16(packet + control::kCommandOffset, command);
    Store16(packet + control::kLengthOffset, static_cast<std::uint16_t>(length));
    Store16(packet + control::kRequestIdOffset, requestId);
}

} // namespace

ReadMemPacket EncodeReadMem(std::uint16_t requestId, std::uint64_t address, std::uint16_t count) {
    ReadMemPacket packet{};
    StoreHead(packet.data(), kReadMemCommand, packet.size() - control::kHeaderSize, requestId);
    Store64(packet.data() + kAddressOffset, address);
    Store16(packet.data() + kReadCountOffset, count);
    return packet;
}

std::optional<std::size_t> EncodeWriteMem(std::uint16_t requestId, std::uint64_t address, ByteView data,
                                          std::uint8_t* packet, std::size_t capacity) {
    const std::size_t size = control::kWriteMemHeaderSize + data.size;
    if (data.size > control::kMaxWriteLength || size > capacity) return std::nullopt;
    StoreHead(packet, kWriteMemCommand, size - control::kHeaderSize, requestId);
    Store64(packet + kAddressOffset, address);
    if (data.size != 0) std::memcpy(packet + control::kWriteMemHeaderSize, data.data, data.size);
    return size;
}

std::optional<Acknowledge> DecodeAcknowledge(ByteView bytes) {
    if (bytes.size < control::kHeaderSize) return std::nullopt;
    if (Load32(bytes.data + control::kMagicOffset) != kControlMagic) return std::nullopt;
    Acknowledge acknowledge;
    acknowledge.status = Load16(bytes.data + control::kStatusOffset);
    acknowledge.command = Load16(bytes.data + control::kCommandOffset);
    acknowledge.length = Load16(bytes.data + control::kLengthOffset);
    acknowledge.requestId = Load16(bytes.data + control::kRequestIdOffset);
    acknowledge.data = bytes.From(control::kDataOffset).First(acknowledge.length);
    return acknowledge;
}

std::optional<std::uint16_t> DecodePendingTimeout(const Acknowledge& acknowledge) {
    if (acknowledge.command != kPendingAck || acknowledge.data.size < kShortAnswerSize) return std::nullopt;
    return Load16(acknowledge.data.data + kShortAnswerOffset);
}

std::optional<std::uint16_t> DecodeWrittenLength(const Acknowledge& acknowledge) {
    if (acknowledge.command != kWriteMemAck || acknowledge.data.size < kShortAnswerSize) return std::nullopt;
    return Load16(acknowledge.data.data + kShortAnswerOffset);
}

} // namespace u3v
