#pragma once
// Samples of all packings to rows of bytes or words.

#include "imaging/kernels/Block.h"
#include "imaging/kernels/Kernels.h"

namespace Tavix::imaging {
namespace {

using UnalignedWord __attribute__((aligned(1), may_alias)) = std::uint16_t;

/// A sample that stands in the high bits of a word, in all of T's range: its high bits again below.
template<class T>
inline T FromHighBits(std::uint16_t high, unsigned bits) {
    if constexpr (sizeof(T) == 1) {
        return static_cast<T>(high >> 8);
    } else {
        return static_cast<T>(high | high >> bits);
    }
}

template<class T>
void Bytes(const std::uint8_t* from, T* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<T>(sizeof(T) == 1 ? from[i] : from[i] * 257);
}

template<class T>
void Words(const std::uint8_t* from, unsigned bits, T* to, std::size_t count) {
    const UnalignedWord* words = reinterpret_cast<const UnalignedWord*>(from);
    const unsigned up = 16 - bits;
    for (std::size_t i = 0; i < count; ++i)
        to[i] = FromHighBits<T>(static_cast<std::uint16_t>(words[i] << up), bits);
}

/// 1, 2 or 4 bits: several samples a byte.
template<class T, unsigned Bits>
std::size_t Fractions(const std::uint8_t* from, T* to, std::size_t count) {
    constexpr unsigned kEach = 8 / Bits, kMost = (1U << Bits) - 1;
    constexpr unsigned kFull = static_cast<T>(~T{0}) / kMost;
    const std::size_t whole = count / 8 * 8;
    for (std::size_t i = 0; i < whole / kEach; ++i) {
        for (unsigned j = 0; j < kEach; ++j)
            to[i * kEach + j] = static_cast<T>((from[i] >> (j * Bits) & kMost) * kFull);
    }
    return whole;
}

/// Eight samples of 10, 12 or 14 bits in as many bytes.
template<class T, unsigned Bits>
std::size_t DenseWords(const std::uint8_t* from, T* to, std::size_t count) {
    const std::size_t whole = count / 8 * 8;
    for (std::size_t i = 0; i < whole; i += 8, from += Bits) {
        for (unsigned j = 0; j < 8; ++j) {
            const unsigned first = j * Bits / 8, shift = j * Bits % 8;
            unsigned value = from[first] | unsigned{from[first + 1]} << 8;
            if (shift + Bits > 16) value |= unsigned{from[first + 2]} << 16;
            to[i + j] = FromHighBits<T>(static_cast<std::uint16_t>(value >> shift << (16 - Bits)), Bits);
        }
    }
    return whole;
}

#ifdef TAVIX_BYTE_SHUFFLE

/// Puts eight words, samples in their high bits, to a row.
inline void Put(Block words, unsigned bits, std::uint16_t* to) {
    Store(Or(words, ShiftRight(words, bits)), to);
}
inline void Put(Block words, unsigned, std::uint8_t* to) {
    StoreHalf(PackHighBytes(words), to);
}

/// 10 or 12 bits: each sample's two bytes into a word, then up by multiplying, since each word needs another shift.
template<class T, unsigned Bits>
std::size_t ShuffledDense(const std::uint8_t* from, std::size_t size, T* to, std::size_t count) {
    const Block places = Bits == 10 ? MakeBytes({0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9})
                                    : MakeBytes({0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11});
    const Block factors =
        Bits == 10 ? MakeWords({64, 16, 4, 1, 64, 16, 4, 1}) : MakeWords({16, 1, 16, 1, 16, 1, 16, 1});
    const Block mask = Bits == 10 ? AllWords(0xFFC0) : AllWords(0xFFF0);
    std::size_t done = 0;
    for (; done + 8 <= count && size >= 16; done += 8, from += Bits, size -= Bits)
        Put(And(MultiplyLow(Shuffle(Load(from), places), factors), mask), Bits, to + done);
    return done;
}

/// Two samples in three bytes: words of (low bits, high bits), the second sample's low bits in the upper nibble.
template<class T, unsigned Bits>
std::size_t ShuffledPairs(const std::uint8_t* from, std::size_t size, T* to, std::size_t count) {
    const Block places = MakeBytes({1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11});
    const Block high = AllWords(0xFF00), second = MakeWords({0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF});
    const Block low = AllWords(Bits == 10 ? 0xC0 : 0xF0);
    std::size_t done = 0;
    for (; done + 8 <= count && size >= 16; done += 8, from += 12, size -= 12) {
        const Block words = Shuffle(Load(from), places);
        const Block ofFirst = ShiftLeft(words, Bits == 10 ? 6 : 4);
        const Block ofSecond = Bits == 10 ? ShiftLeft(words, 2) : words;
        const Block lowBits = And(low, Or(And(ofSecond, second), AndNot(second, ofFirst)));
        Put(Or(And(words, high), lowBits), Bits, to + done);
    }
    return done;
}

#endif

template<class T, unsigned Bits>
std::size_t DenseOf(const std::uint8_t* from, std::size_t size, T* to, std::size_t count) {
    std::size_t done = 0;
#ifdef TAVIX_BYTE_SHUFFLE
    if constexpr (Bits != 14) done = ShuffledDense<T, Bits>(from, size, to, count);
#endif
    const std::size_t used = done / 8 * Bits, rest = (size - used) / Bits * 8;
    return done + DenseWords<T, Bits>(from + used, to + done, count - done < rest ? count - done : rest);
}

template<class T>
std::size_t Dense(const std::uint8_t* from, std::size_t size, unsigned bits, T* to, std::size_t count) {
    switch (bits) {
    case 1:
        return Fractions<T, 1>(from, to, count);
    case 2:
        return Fractions<T, 2>(from, to, count);
    case 4:
        return Fractions<T, 4>(from, to, count);
    case 10:
        return DenseOf<T, 10>(from, size, to, count);
    case 12:
        return DenseOf<T, 12>(from, size, to, count);
    case 14:
        return DenseOf<T, 14>(from, size, to, count);
    default:
        return 0;
    }
}

template<class T>
std::size_t Pairs(const std::uint8_t* from, std::size_t size, unsigned bits, T* to, std::size_t count) {
    std::size_t done = 0;
#ifdef TAVIX_BYTE_SHUFFLE
    done = bits == 10 ? ShuffledPairs<T, 10>(from, size, to, count) : ShuffledPairs<T, 12>(from, size, to, count);
#endif
    size -= done / 2 * 3;
    from += done / 2 * 3;
    const unsigned firstUp = bits == 10 ? 6 : 4, secondUp = bits == 10 ? 2 : 0, mask = bits == 10 ? 0xC0 : 0xF0;
    for (; done + 2 <= count && size >= 3; done += 2, from += 3, size -= 3) {
        const unsigned first = unsigned{from[0]} << 8 | (unsigned{from[1]} << firstUp & mask);
        const unsigned second = unsigned{from[2]} << 8 | (unsigned{from[1]} << secondUp & mask);
        to[done] = FromHighBits<T>(static_cast<std::uint16_t>(first), bits);
        to[done + 1] = FromHighBits<T>(static_cast<std::uint16_t>(second), bits);
    }
    return done;
}

} // namespace
} // namespace Tavix::imaging
