#include "support/ScriptedBytes.h"

namespace scripted {

std::uint64_t LoadLittle(const Bytes& bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- != 0;)
        value = value << 8 | bytes.at(offset + i);
    return value;
}

Bytes Little(std::uint64_t value, std::size_t size) {
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return bytes;
}

Bytes Hex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    Bytes bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\n') continue;
        if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit(c)));
        high = high < 0 ? digit(c) : -1;
    }
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Pattern(std::size_t size, unsigned int seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8) + seed);
    return bytes;
}

std::uint16_t Command::Id() const {
    return static_cast<std::uint16_t>(LoadLittle(bytes, 6, 2));
}
std::uint16_t Command::RequestId() const {
    return static_cast<std::uint16_t>(LoadLittle(bytes, 10, 2));
}
std::uint64_t Command::Address() const {
    return LoadLittle(bytes, 12, 8);
}
std::size_t Command::Count() const {
    return static_cast<std::size_t>(LoadLittle(bytes, 22, 2));
}
Bytes Command::Data() const {
    return Bytes(bytes.begin() + 20, bytes.end());
}

Bytes Ack(std::uint16_t status, std::uint16_t command, std::uint16_t requestId, const Bytes& data) {
    return Hex("55335643") + Little(status, 2) + Little(command, 2) + Little(data.size(), 2) + Little(requestId, 2) +
           data;
}

Bytes ImageLeader(std::uint64_t blockId, std::uint32_t width, std::uint32_t height) {
    return Hex("5533564C 0000 3400") + Little(blockId, 8) + Hex("0000 0100 E803000000000000 01000801") +
           Little(width, 4) + Little(height, 4) + Hex("05000000 06000000 0000 0000");
}

Bytes ImageTrailer(std::uint64_t blockId, std::uint64_t validSize, std::uint32_t height, std::uint16_t status) {
    return Hex("55335654 0000 2000") + Little(blockId, 8) + Little(status, 2) + Hex("0000") + Little(validSize, 8) +
           Little(height, 4);
}

} // namespace scripted
