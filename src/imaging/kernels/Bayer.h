#pragma once
// Demosaicing.

#include "imaging/kernels/Kernels.h"
#include "imaging/kernels/Vector.h"

namespace Tavix::imaging {
namespace {

/// Computes what each pixel would become at both kinds of sites, and picks.
template<class T>
void Bilinear(const RowTriple<T>& rows, const T* ownSites, const BayerRows<T>& to, std::size_t count) {
    using V = Vector<T>;
    for (std::size_t x = 0; x < count; x += kVectorBytes / sizeof(T)) {
        const T* up = rows.above + x;
        const T* mid = rows.here + x;
        const T* down = rows.below + x;
        const V site = LoadVector(ownSites + x), here = LoadVector(mid);
        const V left = LoadVector(mid - 1), right = LoadVector(mid + 1);
        const V above = LoadVector(up), below = LoadVector(down);
        const V corners = Mean4<T>(LoadVector(up - 1), LoadVector(up + 1), LoadVector(down - 1), LoadVector(down + 1));
        StoreVector<T>(Pick(site, here, Mean2<T>(left, right)), to.own + x);
        StoreVector<T>(Pick(site, Mean4<T>(left, right, above, below), here), to.green + x);
        StoreVector<T>(Pick(site, corners, Mean2<T>(above, below)), to.other + x);
    }
}

/// At a site, green is the mean of its neighbours in the direction that changes less, corrected by how the site differs
/// there from its own colour's next ones. Works on sites alone: two neighbouring samples make one lane.
template<class T>
void GreenAlongEdges(const T* const* rows, unsigned first, T* green, Wide<T>* excess, std::size_t count) {
    using V = WideVector<T>;
    constexpr std::ptrdiff_t kStep = kVectorBytes / sizeof(T);
    const V four = V{} + Wide<T>{4};
    // From the site before the row on, so that the row's first pixel is done even if it is none.
    for (std::ptrdiff_t x = std::ptrdiff_t{first} - 2; x < static_cast<std::ptrdiff_t>(count); x += kStep) {
        const T* mid = rows[0] + x;
        const Vector<T> pairs = LoadVector(mid), before = LoadVector(mid - 2);
        const V here = Firsts<T>(pairs), left = Seconds<T>(before), right = Seconds<T>(pairs);
        const V above = Firsts<T>(LoadVector(rows[-1] + x)), below = Firsts<T>(LoadVector(rows[1] + x));
        const V farX = Firsts<T>(before) + Firsts<T>(LoadVector(mid + 2));
        const V farY = Firsts<T>(LoadVector(rows[-2] + x)) + Firsts<T>(LoadVector(rows[2] + x));
        const V bendX = here + here - farX, bendY = here + here - farY;
        const V changeX = Distance(left, right) + Distance(bendX, V{});
        const V changeY = Distance(above, below) + Distance(bendY, V{});
        const V sumX = left + right, sumY = above + below;
        const V alongX = sumX + sumX + bendX, alongY = sumY + sumY + bendY;
        const V doubleX = changeX < changeY ? alongX : alongY, doubleY = changeY < changeX ? alongY : alongX;
        const V found = Clamped<T>((doubleX + doubleY + four) >> 3);
        StoreVector<T>(Together<T>(found, right), green + x);
        StoreVector<Wide<T>>(here - found, excess + (x - std::ptrdiff_t{first}) / 2);
    }
}

/// With the sites at the second of each two pixels if `First` is 1. Sites of the rows above and below are at the other.
template<class T, unsigned First>
void ByDifferenceFrom(const T* here, const T* green, const RowTriple<Wide<T>>& excess, const BayerRows<T>& to,
                      std::size_t count) {
    using V = WideVector<T>;
    constexpr std::ptrdiff_t kBesides = First == 0 ? 0 : -1, kCorners = First == 0 ? -1 : 0;
    const V one = V{} + Wide<T>{1}, two = one + one;
    for (std::size_t x = 0; x < count; x += kVectorBytes / sizeof(T)) {
        const Wide<T>* own = excess.here + x / 2;
        const Wide<T>* up = excess.above + x / 2;
        const Wide<T>* down = excess.below + x / 2;
        const Vector<T> pairs = LoadVector(here + x), greens = LoadVector(green + x);
        const V beside = LoadVector(own + kBesides) + LoadVector(own + kBesides + 1);
        const V stacked = LoadVector(up) + LoadVector(down);
        const V corners = LoadVector(up + kCorners) + LoadVector(up + kCorners + 1) + LoadVector(down + kCorners) +
                          LoadVector(down + kCorners + 1);
        const V atSite = First == 0 ? Firsts<T>(pairs) : Seconds<T>(pairs);
        const V greenAtSite = First == 0 ? Firsts<T>(greens) : Seconds<T>(greens);
        const V greenBeside = First == 0 ? Seconds<T>(greens) : Firsts<T>(greens);
        const V ownBeside = Clamped<T>(greenBeside + ((beside + one) >> 1));
        const V otherAtSite = Clamped<T>(greenAtSite + ((corners + two) >> 2));
        const V otherBeside = Clamped<T>(greenBeside + ((stacked + one) >> 1));
        StoreVector<T>(First == 0 ? Together<T>(atSite, ownBeside) : Together<T>(ownBeside, atSite), to.own + x);
        StoreVector<T>(First == 0 ? Together<T>(otherAtSite, otherBeside) : Together<T>(otherBeside, otherAtSite),
                       to.other + x);
    }
}

template<class T>
void ByDifference(const T* here, const T* green, const RowTriple<Wide<T>>& excess, unsigned first,
                  const BayerRows<T>& to, std::size_t count) {
    if (first == 0) {
        ByDifferenceFrom<T, 0>(here, green, excess, to, count);
    } else {
        ByDifferenceFrom<T, 1>(here, green, excess, to, count);
    }
}

} // namespace
} // namespace Tavix::imaging
