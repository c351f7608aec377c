#include "u3v/Crc16.h"

#include "u3v/Crc16Tables.h"

#if defined(__aarch64__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace u3v {
namespace {

std::uint16_t ByteSteps(std::uint16_t crc, const std::uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        crc = static_cast<std::uint16_t>((crc << 8) ^ kCrc16Tables[0][(crc >> 8) ^ data[i]]);
    }
    return crc;
}

} // namespace

std::uint16_t Crc16ByteTable(const std::uint8_t* data, std::size_t size) {
    return ByteSteps(0, data, size);
}

std::uint16_t Crc16Portable(const std::uint8_t* data, std::size_t size) {
    const auto& t = kCrc16Tables;
    std::uint16_t crc = 0;
    // Sixteen independent look-ups a round; the running value enters with the first two bytes.
    for (; size >= kCrc16Slices; data += kCrc16Slices, size -= kCrc16Slices) {
        std::uint16_t next = t[15][data[0] ^ (crc >> 8)];
        next ^= t[14][data[1] ^ (crc & 0xFF)];
        for (std::size_t i = 2; i < kCrc16Slices; ++i)
            next ^= t[kCrc16Slices - 1 - i][data[i]];
        crc = next;
    }
    return ByteSteps(crc, data, size);
}

bool HasCarryLessMultiply() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
#elif defined(__aarch64__)
    return (getauxval(AT_HWCAP) & HWCAP_PMULL) != 0;
#else
    return false;
#endif
}

std::uint16_t Crc16(const std::uint8_t* data, std::size_t size) {
    static const bool carryLess = HasCarryLessMultiply();
    return carryLess ? Crc16CarryLess(data, size) : Crc16Portable(data, size);
}

} // namespace u3v
