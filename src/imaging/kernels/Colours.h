#pragma once
// Demosaicing and colour arithmetic, written so that compilers make vectors of it.

#include "imaging/Kernels.h"

#include <type_traits>

namespace Tavix::imaging {
namespace {

/// A signed number that holds sums and differences of a few T.
template<class T>
using Wide = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;

template<class T>
inline T Pick(T mask, T whereSet, T elsewhere) {
    return static_cast<T>((whereSet & mask) | (elsewhere & static_cast<T>(~mask)));
}

template<class T>
inline T Mean2(T a, T b) {
    return static_cast<T>((unsigned{a} + b + 1) >> 1);
}

template<class T>
inline T Mean4(T a, T b, T c, T d) {
    return static_cast<T>((unsigned{a} + b + c + d + 2) >> 2);
}

template<class T>
inline T Clamp(Wide<T> value) {
    constexpr Wide<T> kMost = static_cast<T>(~T{0});
    const Wide<T> above = value < 0 ? Wide<T>{0} : value;
    return static_cast<T>(above > kMost ? kMost : above);
}

template<class T>
void Bilinear(const RowTriple<T>& rows, const T* __restrict ownSites, const BayerRows<T>& to, std::size_t count) {
    const T* __restrict up = rows.above;
    const T* __restrict mid = rows.here;
    const T* __restrict down = rows.below;
    T* __restrict own = to.own;
    T* __restrict green = to.green;
    T* __restrict other = to.other;
    for (std::ptrdiff_t x = 0; x < static_cast<std::ptrdiff_t>(count); ++x) {
        const T site = ownSites[x], here = mid[x];
        const T beside = Mean2(mid[x - 1], mid[x + 1]), stacked = Mean2(up[x], down[x]);
        own[x] = Pick(site, here, beside);
        green[x] = Pick(site, Mean4(mid[x - 1], mid[x + 1], up[x], down[x]), here);
        other[x] = Pick(site, Mean4(up[x - 1], up[x + 1], down[x - 1], down[x + 1]), stacked);
    }
}

template<class W>
inline W Distance(W a, W b) {
    return static_cast<W>(a < b ? b - a : a - b);
}

/// At a red or blue pixel, green is the mean of its neighbours in the direction that changes less, corrected by how the
/// pixel differs there from its own colour's next ones.
template<class T>
void GreenAlongEdges(const T* const* rows, const T* __restrict ownSites, T* __restrict green, std::size_t count) {
    using W = Wide<T>;
    const T* __restrict up2 = rows[-2];
    const T* __restrict up = rows[-1];
    const T* __restrict mid = rows[0];
    const T* __restrict down = rows[1];
    const T* __restrict down2 = rows[2];
    for (std::ptrdiff_t x = 0; x < static_cast<std::ptrdiff_t>(count); ++x) {
        const W left = mid[x - 1], right = mid[x + 1], above = up[x], below = down[x], here = mid[x];
        const W bendX = static_cast<W>(2 * here - mid[x - 2] - mid[x + 2]);
        const W bendY = static_cast<W>(2 * here - up2[x] - down2[x]);
        const W changeX = static_cast<W>(Distance(left, right) + Distance<W>(bendX, 0));
        const W changeY = static_cast<W>(Distance(above, below) + Distance<W>(bendY, 0));
        const W alongX = static_cast<W>(2 * (left + right) + bendX),
                alongY = static_cast<W>(2 * (above + below) + bendY);
        const W doubleX = changeX < changeY ? alongX : alongY, doubleY = changeY < changeX ? alongY : alongX;
        const W value = static_cast<W>((doubleX + doubleY + 4) >> 3);
        green[x] = Pick(ownSites[x], Clamp<T>(value), mid[x]);
    }
}

template<class T>
void ByDifference(const RowTriple<T>& rows, const RowTriple<T>& greens, const T* __restrict ownSites,
                  const BayerRows<T>& to, std::size_t count) {
    using W = Wide<T>;
    const T* __restrict up = rows.above;
    const T* __restrict mid = rows.here;
    const T* __restrict down = rows.below;
    const T* __restrict greenUp = greens.above;
    const T* __restrict green = greens.here;
    const T* __restrict greenDown = greens.below;
    T* __restrict own = to.own;
    T* __restrict other = to.other;
    for (std::ptrdiff_t x = 0; x < static_cast<std::ptrdiff_t>(count); ++x) {
        const T site = ownSites[x];
        const W here = green[x];
        const W besides = static_cast<W>(mid[x - 1] - green[x - 1] + mid[x + 1] - green[x + 1]);
        const W stacked = static_cast<W>(up[x] - greenUp[x] + down[x] - greenDown[x]);
        const W corners = static_cast<W>(up[x - 1] - greenUp[x - 1] + up[x + 1] - greenUp[x + 1] + down[x - 1] -
                                         greenDown[x - 1] + down[x + 1] - greenDown[x + 1]);
        own[x] = Pick(site, mid[x], Clamp<T>(static_cast<W>(here + ((besides + 1) >> 1))));
        const T atSite = Clamp<T>(static_cast<W>(here + ((corners + 2) >> 2)));
        const T elsewhere = Clamp<T>(static_cast<W>(here + ((stacked + 1) >> 1)));
        other[x] = Pick(site, atSite, elsewhere);
    }
}

template<class T>
inline T ClampColour(std::int32_t value) {
    constexpr std::int32_t kMost = static_cast<T>(~T{0});
    const std::int32_t whole = (value + (1 << 12)) >> 13;
    const std::int32_t above = whole < 0 ? 0 : whole;
    return static_cast<T>(above > kMost ? kMost : above);
}

template<class T>
void Colours(const T* __restrict y, const T* __restrict u, const T* __restrict v, const ColourMatrix& matrix,
             const ColourRows<T>& to, std::size_t count) {
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
