#pragma once
// Between components side by side and planes.

#include "imaging/Kernels.h"
#include "imaging/kernels/Block.h"

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

/// Sixteen pixels are three blocks, and each has some of each colour.
inline std::size_t Interleave3Blocks(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                     std::uint8_t* to, std::size_t count) {
    Block places[3][3];
    for (unsigned block = 0; block < 3; ++block) {
        for (unsigned colour = 0; colour < 3; ++colour) {
            std::uint8_t bytes[16];
            for (unsigned i = 0; i < 16; ++i) {
                const unsigned at = block * 16 + i;
                bytes[i] = static_cast<std::uint8_t>(at % 3 == colour ? at / 3 : 0x80);
            }
            places[block][colour] = Load(bytes);
        }
    }
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16, to += 48) {
        const Block ofA = Load(a + done), ofB = Load(b + done), ofC = Load(c + done);
        for (unsigned block = 0; block < 3; ++block) {
            const Block mixed = Or(Shuffle(ofA, places[block][0]), Shuffle(ofB, places[block][1]));
            Store(Or(mixed, Shuffle(ofC, places[block][2])), to + block * 16);
        }
    }
    return done;
}

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
