#pragma once
// Sixteen bytes and what one instruction does to them.

#include <cstdint>

#if defined(__SSSE3__)
#include <immintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace Tavix::imaging {
namespace {

#if defined(__SSSE3__)
#define TAVIX_BYTE_SHUFFLE

using Block = __m128i;

inline Block Load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline void Store(Block block, void* to) {
    _mm_storeu_si128(static_cast<__m128i*>(to), block);
}
inline void StoreHalf(Block block, void* to) {
    _mm_storel_epi64(static_cast<__m128i*>(to), block);
}
inline Block AllWords(int value) {
    return _mm_set1_epi16(static_cast<short>(value));
}
/// A place with its highest bit set gives zero.
inline Block Shuffle(Block block, Block places) {
    return _mm_shuffle_epi8(block, places);
}
inline Block And(Block a, Block b) {
    return _mm_and_si128(a, b);
}
inline Block AndNot(Block mask, Block b) {
    return _mm_andnot_si128(mask, b);
}
inline Block Or(Block a, Block b) {
    return _mm_or_si128(a, b);
}
inline Block MultiplyLow(Block a, Block b) {
    return _mm_mullo_epi16(a, b);
}
inline Block ShiftLeft(Block words, unsigned bits) {
    return _mm_slli_epi16(words, static_cast<int>(bits));
}
inline Block ShiftRight(Block words, unsigned bits) {
    return _mm_srli_epi16(words, static_cast<int>(bits));
}
/// The high byte of each word, in the lower half.
inline Block PackHighBytes(Block words) {
    const Block high = _mm_srli_epi16(words, 8);
    return _mm_packus_epi16(high, high);
}

#elif defined(__ARM_NEON) && defined(__aarch64__)
#define TAVIX_BYTE_SHUFFLE

using Block = uint8x16_t;

inline Block Load(const void* from) {
    return vld1q_u8(static_cast<const std::uint8_t*>(from));
}
inline void Store(Block block, void* to) {
    vst1q_u8(static_cast<std::uint8_t*>(to), block);
}
inline void StoreHalf(Block block, void* to) {
    vst1_u8(static_cast<std::uint8_t*>(to), vget_low_u8(block));
}
inline Block AllWords(int value) {
    return vreinterpretq_u8_u16(vdupq_n_u16(static_cast<std::uint16_t>(value)));
}
/// A place beyond the block gives zero.
inline Block Shuffle(Block block, Block places) {
    return vqtbl1q_u8(block, places);
}
inline Block And(Block a, Block b) {
    return vandq_u8(a, b);
}
inline Block AndNot(Block mask, Block b) {
    return vbicq_u8(b, mask);
}
inline Block Or(Block a, Block b) {
    return vorrq_u8(a, b);
}
inline Block MultiplyLow(Block a, Block b) {
    return vreinterpretq_u8_u16(vmulq_u16(vreinterpretq_u16_u8(a), vreinterpretq_u16_u8(b)));
}
inline Block ShiftLeft(Block words, unsigned bits) {
    return vreinterpretq_u8_u16(vshlq_u16(vreinterpretq_u16_u8(words), vdupq_n_s16(static_cast<std::int16_t>(bits))));
}
inline Block ShiftRight(Block words, unsigned bits) {
    return vreinterpretq_u8_u16(
        vshlq_u16(vreinterpretq_u16_u8(words), vdupq_n_s16(static_cast<std::int16_t>(-static_cast<int>(bits)))));
}
/// The high byte of each word, in the lower half.
inline Block PackHighBytes(Block words) {
    const uint8x8_t high = vshrn_n_u16(vreinterpretq_u16_u8(words), 8);
    return vcombine_u8(high, high);
}

#endif

#ifdef TAVIX_BYTE_SHUFFLE

struct SixteenBytes {
    std::uint8_t bytes[16];
};
struct EightWords {
    std::uint16_t words[8];
};

inline Block MakeBytes(const SixteenBytes& from) {
    return Load(from.bytes);
}
inline Block MakeWords(const EightWords& from) {
    return Load(from.words);
}

#endif

} // namespace
} // namespace Tavix::imaging
