#pragma once
// Making pictures smaller.

#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

/// Where a smaller picture's n-th pixel begins in the larger one.
constexpr std::uint32_t Edge(std::uint32_t n, std::uint32_t large, std::uint32_t small) {
    return static_cast<std::uint32_t>(std::uint64_t{n} * large / small);
}

/// Index of a Bayer colour at a place: 0 red, 1 green, 2 blue.
constexpr unsigned ColourAt(BayerPhase phase, std::uint32_t x, std::uint32_t y) {
    constexpr unsigned kColours[5][4] = {{1, 1, 1, 1}, {1, 0, 2, 1}, {0, 1, 1, 2}, {1, 2, 0, 1}, {2, 1, 1, 0}};
    return kColours[static_cast<unsigned>(phase)][(y & 1) * 2 + (x & 1)];
}

/// Each pixel is the mean of those that it stands for. Mono8 or RGB8, with a stride; not larger than the source.
Picture Shrink(const PictureView& source, std::uint32_t width, std::uint32_t height);
/// A Bayer picture of 8 bits to RGB8, each colour the mean of its pixels. At most half as wide and high as the source.
Picture ShrinkBayer(const PictureView& source, std::uint32_t width, std::uint32_t height);

} // namespace Tavix::imaging
