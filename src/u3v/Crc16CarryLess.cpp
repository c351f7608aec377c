#include "Crc16.h"

#include "Crc16Tables.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace u3v {

#if defined(__x86_64__)

namespace {

#define TAVIX_CARRY_LESS __attribute__((target("pclmul,ssse3,sse4.1")))

/// Sixteen message bytes as one polynomial: the first byte holds the highest powers.
TAVIX_CARRY_LESS inline __m128i Load(const std::uint8_t* data) {
    const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)), reversed);
}

/// `value` moved up by the distance that the powers stand for, plus `next`. A value of 128 bits that stands `distance`
/// bits before `next` is congruent to high * x^(distance + 64) + low * x^distance; the powers are reduced beforehand,
/// so the products fit 128 bits.
TAVIX_CARRY_LESS inline __m128i Fold(__m128i value, __m128i powers, __m128i next) {
    const __m128i high = _mm_clmulepi64_si128(value, powers, 0x11);
    const __m128i low = _mm_clmulepi64_si128(value, powers, 0x00);
    return _mm_xor_si128(_mm_xor_si128(high, low), next);
}

TAVIX_CARRY_LESS inline __m128i Powers(std::uint64_t forHigh, std::uint64_t forLow) {
    return _mm_set_epi64x(static_cast<long long>(forHigh), static_cast<long long>(forLow));
}

constexpr std::size_t kStep = 16;
constexpr std::size_t kRound = 4 * kStep;
constexpr std::uint64_t kFarHigh = Crc16PowerOfX(512 + 64), kFarLow = Crc16PowerOfX(512);
constexpr std::uint64_t kNearHigh = Crc16PowerOfX(128 + 64), kNearLow = Crc16PowerOfX(128);

/// Reduces whole rounds and steps of the message to sixteen bytes with the same remainder; advances data and size.
TAVIX_CARRY_LESS void Reduce(const std::uint8_t*& data, std::size_t& size, std::uint8_t* remainder) {
    const __m128i far = Powers(kFarHigh, kFarLow), near = Powers(kNearHigh, kNearLow);
    __m128i a = Load(data), b = Load(data + kStep), c = Load(data + 2 * kStep), d = Load(data + 3 * kStep);
    for (data += kRound, size -= kRound; size >= kRound; data += kRound, size -= kRound) {
        a = Fold(a, far, Load(data));
        b = Fold(b, far, Load(data + kStep));
        c = Fold(c, far, Load(data + 2 * kStep));
        d = Fold(d, far, Load(data + 3 * kStep));
    }
    __m128i sum = Fold(Fold(Fold(a, near, b), near, c), near, d);
    for (; size >= kStep; data += kStep, size -= kStep)
        sum = Fold(sum, near, Load(data));
    const __m128i bytes = _mm_shuffle_epi8(sum, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(remainder), bytes);
}

#undef TAVIX_CARRY_LESS

} // namespace

bool HasCarryLessMultiply() {
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
}

std::uint16_t Crc16CarryLess(const std::uint8_t* data, std::size_t size) {
    if (size < kRound) return Crc16ByteTable(data, size);
    std::uint8_t bytes[2 * kStep];
    Reduce(data, size, bytes);
    for (std::size_t i = 0; i < size; ++i)
        bytes[kStep + i] = data[i];
    return Crc16ByteTable(bytes, kStep + size);
}

#else

bool HasCarryLessMultiply() {
    return false;
}

std::uint16_t Crc16CarryLess(const std::uint8_t* data, std::size_t size) {
    return Crc16Portable(data, size);
}

#endif

} // namespace u3v
