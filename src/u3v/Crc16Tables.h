#pragma once
// Tables and powers behind the CRC-16, computed by the compiler.

#include <array>
#include <cstdint>

namespace u3v {

inline constexpr std::uint16_t kCrc16Polynomial = 0x1021;

/// `crc` shifted by one byte through the polynomial.
constexpr std::uint16_t Crc16ShiftByte(std::uint16_t crc) {
    for (int bit = 0; bit < 8; ++bit) {
        crc = static_cast<std::uint16_t>(crc & 0x8000 ? (crc << 1) ^ kCrc16Polynomial : crc << 1);
    }
    return crc;
}

/// Entry [k][i] is the CRC of byte i followed by k zero bytes.
inline constexpr std::size_t kCrc16Slices = 16;
using Crc16Tables = std::array<std::array<std::uint16_t, 256>, kCrc16Slices>;

constexpr Crc16Tables MakeCrc16Tables() {
    Crc16Tables tables{};
    for (unsigned int i = 0; i < 256; ++i)
        tables[0][i] = Crc16ShiftByte(static_cast<std::uint16_t>(i << 8));
    for (std::size_t k = 1; k < kCrc16Slices; ++k) {
        for (unsigned int i = 0; i < 256; ++i) {
            const std::uint16_t before = tables[k - 1][i];
            tables[k][i] = static_cast<std::uint16_t>((before << 8) ^ tables[0][before >> 8]);
        }
    }
    return tables;
}

inline constexpr Crc16Tables kCrc16Tables = MakeCrc16Tables();

/// x to the power of `exponent`, modulo the polynomial.
constexpr std::uint64_t Crc16PowerOfX(unsigned int exponent) {
    std::uint16_t value = 1;
    for (unsigned int i = 0; i < exponent; ++i) {
        value = static_cast<std::uint16_t>(value & 0x8000 ? (value << 1) ^ kCrc16Polynomial : value << 1);
    }
    return value;
}

} // namespace u3v
