#pragma once
// From luma and chroma to colours and back, written so that compilers make vectors of it.

#include "imaging/kernels/Kernels.h"
#include "imaging/kernels/Vector.h"

namespace Tavix::imaging {
namespace {

template<class T>
inline T ClampColour(std::int32_t value) {
    constexpr std::int32_t kMost = static_cast<T>(~T{0});
    const std::int32_t whole = (value + (1 << 12)) >> 13;
    const std::int32_t above = whole < 0 ? 0 : whole;
    return static_cast<T>(above > kMost ? kMost : above);
}

/// A matrix for words: products keep five bits behind the point.
class SmallMatrix {
public:
    using V = Vector<std::int16_t>;

    explicit SmallMatrix(const ColourMatrix& m)
        : m_Black(All(m.black)), m_Middle(All(m.middle)), m_Luma(All(2 * m.luma)), m_RedV(All(m.redV)),
          m_GreenU(All(m.greenU)), m_GreenV(All(m.greenV)), m_BlueU(All(m.blueU)) {}

    struct Pixels {
        V red, green, blue;
    };
    Pixels Convert(V y, V u, V v) const {
        const V luma = MultiplyHigh((y - m_Black) << 7, m_Luma) + std::int16_t{16};
        const V blueness = (u - m_Middle) << 8, redness = (v - m_Middle) << 8;
        const V lessGreen = MultiplyHigh(blueness, m_GreenU) + MultiplyHigh(redness, m_GreenV);
        return {Rounded(luma + MultiplyHigh(redness, m_RedV)), Rounded(luma - lessGreen),
                Rounded(luma + MultiplyHigh(blueness, m_BlueU))};
    }

private:
    static V All(std::int32_t value) { return V{} + static_cast<std::int16_t>(value); }
    static V Rounded(V value) { return Clamped<std::uint8_t>(value >> 5); }

    const V m_Black, m_Middle, m_Luma, m_RedV, m_GreenU, m_GreenV, m_BlueU;
};

inline void Colours(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, const ColourMatrix& matrix,
                    const ColourRows<std::uint8_t>& to, std::size_t count) {
    using T = std::uint8_t;
    const SmallMatrix small(matrix);
    for (std::size_t x = 0; x < count; x += kVectorBytes) {
        const Vector<T> ys = LoadVector(y + x), us = LoadVector(u + x), vs = LoadVector(v + x);
        const SmallMatrix::Pixels a = small.Convert(Firsts<T>(ys), Firsts<T>(us), Firsts<T>(vs));
        const SmallMatrix::Pixels b = small.Convert(Seconds<T>(ys), Seconds<T>(us), Seconds<T>(vs));
        StoreVector<T>(Together<T>(a.red, b.red), to.red + x);
        StoreVector<T>(Together<T>(a.green, b.green), to.green + x);
        StoreVector<T>(Together<T>(a.blue, b.blue), to.blue + x);
    }
}

inline void Colours(const std::uint16_t* __restrict y, const std::uint16_t* __restrict u,
                    const std::uint16_t* __restrict v, const ColourMatrix& matrix, const ColourRows<std::uint16_t>& to,
                    std::size_t count) {
    using T = std::uint16_t;
    const ColourMatrix m = matrix;
    T* __restrict red = to.red;
    T* __restrict green = to.green;
    T* __restrict blue = to.blue;
    for (std::size_t x = 0; x < count; ++x) {
        const std::int32_t luma = (y[x] - m.black) * m.luma, blueness = u[x] - m.middle, redness = v[x] - m.middle;
        red[x] = ClampColour<T>(luma + m.redV * redness);
        green[x] = ClampColour<T>(luma - m.greenU * blueness - m.greenV * redness);
        blue[x] = ClampColour<T>(luma + m.blueU * blueness);
    }
}

/// The weights of BT.601 in units of 2^-16.
template<class T>
void Luma(const T* __restrict red, const T* __restrict green, const T* __restrict blue, T* __restrict to,
          std::size_t count) {
    for (std::size_t x = 0; x < count; ++x)
        to[x] = static_cast<T>((red[x] * 19595U + green[x] * 38470U + blue[x] * 7471U + 32768U) >> 16);
}

} // namespace
} // namespace Tavix::imaging
