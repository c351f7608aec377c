#pragma once
// What the values of a picture tell: histogram, saturation, sharpness, a profile along a line. Re-entrant.

#include <tavix/imaging/Display.h>
#include <tavix/imaging/Export.h>
#include <tavix/imaging/Picture.h>

#include <array>
#include <cstdint>
#include <vector>

namespace Tavix::imaging {

/// Of one channel.
struct ChannelStatistics {
    char channel = 'Y';                         ///< 'Y', 'R', 'G' or 'B'
    std::array<std::uint32_t, 256> histogram{}; ///< over all that the depth has, in equal steps
    std::uint64_t count = 0;
    std::uint32_t least = 0, most = 0;
    double mean = 0;
    std::uint64_t saturated = 0; ///< values that are the largest of the depth
};

struct PictureStatistics {
    unsigned bits = 0; ///< of the depth
    std::vector<ChannelStatistics> channels;
    /// Larger is sharper: the mean square of the differences between neighbours of one colour over that of the values,
    /// times 10000. To be compared between pictures of one scene only.
    double focus = 0;
};

/// Looks at the region by lines that are spread evenly, so that about `samples` pixels are looked at. Throws Error for
/// what is no picture.
TAVIX_IMAGING_API PictureStatistics Measure(const PictureView& picture, const Region& region = {},
                                            std::uint64_t samples = 400000);

/// A line between two pixels of a picture.
struct Line {
    std::uint32_t x1 = 0, y1 = 0, x2 = 0, y2 = 0;
};

/// The values of the pixels along a line, at most `points` of them: all components of one pixel, then of the next. Ends
/// beyond the picture are taken at its border.
TAVIX_IMAGING_API std::vector<std::uint32_t> Profile(const PictureView& picture, const Line& line,
                                                     std::uint32_t points = 1024);

} // namespace Tavix::imaging
