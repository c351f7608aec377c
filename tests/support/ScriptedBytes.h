#pragma once
// Bytes as a test writes them: packets, commands and blocks.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace scripted {

using Bytes = std::vector<std::uint8_t>;

/// Bytes of "55 33 56 43"; blanks are optional.
Bytes Hex(std::string_view text);
Bytes operator+(Bytes left, const Bytes& right);
/// `size` bytes that differ from their neighbours.
Bytes Pattern(std::size_t size, unsigned int seed = 0);

std::uint64_t LoadLittle(const Bytes& bytes, std::size_t offset, std::size_t size);
Bytes Little(std::uint64_t value, std::size_t size);

/// A command as it came.
struct Command {
    Bytes bytes;
    std::uint16_t Id() const; ///< 0x0800 or 0x0802
    std::uint16_t RequestId() const;
    std::uint64_t Address() const;
    std::size_t Count() const; ///< of a read
    Bytes Data() const;        ///< of a write
};

/// An acknowledge with any contents.
Bytes Ack(std::uint16_t status, std::uint16_t command, std::uint16_t requestId, const Bytes& data);

// Blocks of a stream, typed.
Bytes ImageLeader(std::uint64_t blockId, std::uint32_t width, std::uint32_t height);
Bytes ImageTrailer(std::uint64_t blockId, std::uint64_t validSize, std::uint32_t height, std::uint16_t status = 0);

} // namespace scripted
