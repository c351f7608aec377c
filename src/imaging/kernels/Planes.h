#pragma once
// Between components side by side and planes.

#include "imaging/kernels/Block.h"
#include "imaging/kernels/Kernels.h"

namespace Tavix::imaging {
namespace {

#ifdef TAVIX_BYTE_SHUFFLE

/// As many groups as sixteen bytes hold, at once.
template<class T>
void Gather(const T* from, const GatherPlan& plan, T* to, std::size_t count) {
    const std::size_t groups = 16 / (plan.components * sizeof(T));
    std::uint8_t places[16] = {};
    std::size_t place = 0;
    for (std::size_t pixel = 0; pixel < groups * plan.pixels; ++pixel) {
        const std::size_t sample = pixel / plan.pixels * plan.components + plan.place[pixel % plan.pixels];
        for (std::size_t byte = 0; byte < sizeof(T) && place < 16; ++byte)
            places[place++] = static_cast<std::uint8_t>(sample * sizeof(T) + byte);
    }
    const Block shuffle = Load(places);
    const std::size_t pixels = groups * plan.pixels, components = groups * plan.components;
    for (std::size_t x = 0; x < count; x += pixels, from += components)
        Store(Shuffle(Load(from), shuffle), to + x);
}

/// Sixteen pixels are three blocks. At place p of block b, the colour is (b + p) % 3, since
/// a block is one byte longer than five pixels. So a place needs another colour in each block, and one shuffle of each
/// colour serves all three.
struct Interleaving {
    std::uint8_t places[3][16]; ///< [colour]
    std::uint8_t masks[3][16];  ///< set where p % 3 is the index
};

constexpr Interleaving MakeInterleaving() {
    Interleaving made{};
    for (unsigned block = 0; block < 3; ++block) {
        for (unsigned place = 0; place < 16; ++place) {
            const unsigned byte = block * 16 + place;
            made.places[byte % 3][place] = static_cast<std::uint8_t>(byte / 3);
            made.masks[block][place] = place % 3 == block ? 0xFF : 0;
        }
    }
    return made;
}

constexpr Interleaving kInterleaving = MakeInterleaving();

#if defined(__AVX2__)

inline __m256i Twice(const std::uint8_t* block) {
    return _mm256_broadcastsi128_si256(Load(block));
}

inline std::size_t Interleave3Blocks(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                     std::uint8_t* to, std::size_t count) {
    const auto load = [](const std::uint8_t* from) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    };
    const __m256i second = Twice(kInterleaving.masks[1]), third = Twice(kInterleaving.masks[2]);
    const __m256i ofA = Twice(kInterleaving.places[0]), ofB = Twice(kInterleaving.places[1]);
    const __m256i ofC = Twice(kInterleaving.places[2]);
    std::size_t done = 0;
    for (; done + 32 <= count; done += 32, to += 96) {
        const __m256i x = _mm256_shuffle_epi8(load(a + done), ofA), y = _mm256_shuffle_epi8(load(b + done), ofB);
        const __m256i z = _mm256_shuffle_epi8(load(c + done), ofC);
        const __m256i one = _mm256_blendv_epi8(_mm256_blendv_epi8(x, y, second), z, third);
        const __m256i two = _mm256_blendv_epi8(_mm256_blendv_epi8(y, z, second), x, third);
        const __m256i three = _mm256_blendv_epi8(_mm256_blendv_epi8(z, x, second), y, third);
        __m256i* target = reinterpret_cast<__m256i*>(to);
        _mm256_storeu_si256(target, _mm256_permute2x128_si256(one, two, 0x20));
        _mm256_storeu_si256(target + 1, _mm256_permute2x128_si256(three, one, 0x30));
        _mm256_storeu_si256(target + 2, _mm256_permute2x128_si256(two, three, 0x31));
    }
    return done;
}

#else

inline std::size_t Interleave3Blocks(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                     std::uint8_t* to, std::size_t count) {
    const Block first = Load(kInterleaving.masks[0]), second = Load(kInterleaving.masks[1]);
    const Block third = Load(kInterleaving.masks[2]);
    const Block ofA = Load(kInterleaving.places[0]), ofB = Load(kInterleaving.places[1]);
    const Block ofC = Load(kInterleaving.places[2]);
    const auto mix = [&](Block x, Block y, Block z) { return Or(Or(And(x, first), And(y, second)), And(z, third)); };
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16, to += 48) {
        const Block x = Shuffle(Load(a + done), ofA), y = Shuffle(Load(b + done), ofB);
        const Block z = Shuffle(Load(c + done), ofC);
        Store(mix(x, y, z), to);
        Store(mix(y, z, x), to + 16);
        Store(mix(z, x, y), to + 32);
    }
    return done;
}

#endif

#else

template<class T>
void GatherOneByOne(const T* from, const GatherPlan& plan, T* to, std::size_t count) {
    for (std::size_t x = 0; x < count; x += plan.pixels, from += plan.components) {
        for (unsigned pixel = 0; pixel < plan.pixels; ++pixel)
            to[x + pixel] = from[plan.place[pixel]];
    }
}

template<class T>
void Gather(const T* from, const GatherPlan& plan, T* to, std::size_t count) {
    const unsigned place = plan.place[0];
    if (plan.pixels == 1 && plan.components == 3) {
        for (std::size_t x = 0; x < count; ++x)
            to[x] = from[x * 3 + place];
    } else if (plan.pixels == 1 && plan.components == 4) {
        for (std::size_t x = 0; x < count; ++x)
            to[x] = from[x * 4 + place];
    } else {
        GatherOneByOne(from, plan, to, count);
    }
}

#endif

template<class T>
void Interleave3(const T* a, const T* b, const T* c, T* to, std::size_t count) {
    std::size_t done = 0;
#ifdef TAVIX_BYTE_SHUFFLE
    if constexpr (sizeof(T) == 1) done = Interleave3Blocks(a, b, c, to, count);
#endif
    for (; done < count; ++done) {
        to[3 * done] = a[done];
        to[3 * done + 1] = b[done];
        to[3 * done + 2] = c[done];
    }
}

template<class T>
void Interleave4(const T* a, const T* b, const T* c, const T* d, T* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[4 * i] = a[i];
        to[4 * i + 1] = b[i];
        to[4 * i + 2] = c[i];
        to[4 * i + 3] = d[i];
    }
}

} // namespace
} // namespace Tavix::imaging
