#pragma once
// Little-endian integers at any address.

#include <cstdint>

namespace u3v {

constexpr std::uint16_t Load16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
constexpr std::uint32_t Load32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(Load16(p)) | static_cast<std::uint32_t>(Load16(p + 2)) << 16;
}
constexpr std::uint64_t Load64(const std::uint8_t* p) {
    return static_cast<std::uint64_t>(Load32(p)) | static_cast<std::uint64_t>(Load32(p + 4)) << 32;
}

constexpr void Store16(std::uint8_t* p, std::uint16_t value) {
    p[0] = static_cast<std::uint8_t>(value);
    p[1] = static_cast<std::uint8_t>(value >> 8);
}
constexpr void Store32(std::uint8_t* p, std::uint32_t value) {
    Store16(p, static_cast<std::uint16_t>(value));
    Store16(p + 2, static_cast<std::uint16_t>(value >> 16));
}
constexpr void Store64(std::uint8_t* p, std::uint64_t value) {
    Store32(p, static_cast<std::uint32_t>(value));
    Store32(p + 4, static_cast<std::uint32_t>(value >> 32));
}

} // namespace u3v
