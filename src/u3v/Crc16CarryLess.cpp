#include "u3v/Crc16.h"

#include "u3v/Crc16Tables.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define TAVIX_CARRY_LESS __attribute__((target("pclmul,ssse3,sse4.1")))
#elif defined(__aarch64__) && defined(__ARM_FEATURE_CRYPTO)
#include <arm_neon.h>
#define TAVIX_CARRY_LESS
#endif

namespace u3v {

#if defined(TAVIX_CARRY_LESS)

namespace {

// What each processor calls sixteen bytes, and multiplying two polynomials of 64 bits.
#if defined(__x86_64__)

using Vector = __m128i;

TAVIX_CARRY_LESS inline Vector Reversed(Vector value) {
    return _mm_shuffle_epi8(value, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

TAVIX_CARRY_LESS inline Vector LoadBytes(const std::uint8_t* data) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
}

TAVIX_CARRY_LESS inline void StoreBytes(std::uint8_t* bytes, Vector value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

TAVIX_CARRY_LESS inline Vector Powers(std::uint64_t forHigh, std::uint64_t forLow) {
    return _mm_set_epi64x(static_cast<long long>(forHigh), static_cast<long long>(forLow));
}

TAVIX_CARRY_LESS inline Vector Sum(Vector a, Vector b) {
    return _mm_xor_si128(a, b);
}

TAVIX_CARRY_LESS inline Vector HighProduct(Vector a, Vector b) {
    return _mm_clmulepi64_si128(a, b, 0x11);
}

TAVIX_CARRY_LESS inline Vector LowProduct(Vector a, Vector b) {
    return _mm_clmulepi64_si128(a, b, 0x00);
}

#else

using Vector = uint8x16_t;

inline Vector Reversed(Vector value) {
    const Vector swapped = vrev64q_u8(value);
    return vextq_u8(swapped, swapped, 8);
}

inline Vector LoadBytes(const std::uint8_t* data) {
    return vld1q_u8(data);
}

inline void StoreBytes(std::uint8_t* bytes, Vector value) {
    vst1q_u8(bytes, value);
}

inline Vector Powers(std::uint64_t forHigh, std::uint64_t forLow) {
    return vreinterpretq_u8_u64(vcombine_u64(vcreate_u64(forLow), vcreate_u64(forHigh)));
}

inline Vector Sum(Vector a, Vector b) {
    return veorq_u8(a, b);
}

inline Vector HighProduct(Vector a, Vector b) {
    return vreinterpretq_u8_p128(vmull_high_p64(vreinterpretq_p64_u8(a), vreinterpretq_p64_u8(b)));
}

inline Vector LowProduct(Vector a, Vector b) {
    return vreinterpretq_u8_p128(
        vmull_p64(vgetq_lane_p64(vreinterpretq_p64_u8(a), 0), vgetq_lane_p64(vreinterpretq_p64_u8(b), 0)));
}

#endif

/// Sixteen message bytes as one polynomial: the first byte holds the highest powers.
TAVIX_CARRY_LESS inline Vector Load(const std::uint8_t* data) {
    return Reversed(LoadBytes(data));
}

/// `value` moved up by the distance that the powers stand for, plus `next`. A value of 128 bits that stands `distance`
/// bits before `next` is congruent to high * x^(distance + 64) + low * x^distance; the powers are reduced beforehand,
/// so the products fit 128 bits.
TAVIX_CARRY_LESS inline Vector Fold(Vector value, Vector powers, Vector next) {
    return Sum(Sum(HighProduct(value, powers), LowProduct(value, powers)), next);
}

constexpr std::size_t kStep = 16;
constexpr std::size_t kRound = 4 * kStep;
constexpr std::uint64_t kFarHigh = Crc16PowerOfX(512 + 64), kFarLow = Crc16PowerOfX(512);
constexpr std::uint64_t kNearHigh = Crc16PowerOfX(128 + 64), kNearLow = Crc16PowerOfX(128);

/// Reduces whole rounds and steps of the message to sixteen bytes with the same remainder; advances data and size.
TAVIX_CARRY_LESS void Reduce(const std::uint8_t*& data, std::size_t& size, std::uint8_t* remainder) {
    const Vector far = Powers(kFarHigh, kFarLow), near = Powers(kNearHigh, kNearLow);
    Vector a = Load(data), b = Load(data + kStep), c = Load(data + 2 * kStep), d = Load(data + 3 * kStep);
    for (data += kRound, size -= kRound; size >= kRound; data += kRound, size -= kRound) {
        a = Fold(a, far, Load(data));
        b = Fold(b, far, Load(data + kStep));
        c = Fold(c, far, Load(data + 2 * kStep));
        d = Fold(d, far, Load(data + 3 * kStep));
    }
    Vector sum = Fold(Fold(Fold(a, near, b), near, c), near, d);
    for (; size >= kStep; data += kStep, size -= kStep)
        sum = Fold(sum, near, Load(data));
    StoreBytes(remainder, Reversed(sum));
}

#undef TAVIX_CARRY_LESS

} // namespace

std::uint16_t Crc16CarryLess(const std::uint8_t* data, std::size_t size) {
    if (size < kRound) return Crc16ByteTable(data, size);
    std::uint8_t bytes[2 * kStep];
    Reduce(data, size, bytes);
    for (std::size_t i = 0; i < size; ++i)
        bytes[kStep + i] = data[i];
    return Crc16ByteTable(bytes, kStep + size);
}

#else

std::uint16_t Crc16CarryLess(const std::uint8_t* data, std::size_t size) {
    return Crc16Portable(data, size);
}

#endif

} // namespace u3v
