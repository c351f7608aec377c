#pragma once
// Pictures as people look at them: a part, made small, its values spread to what a screen shows. Re-entrant.

#include <tavix/imaging/Error.h>
#include <tavix/imaging/Export.h>
#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

/// A part of a picture, in pixels of it.
struct Region {
    std::uint32_t x = 0, y = 0;
    std::uint32_t width = 0, height = 0; ///< 0: as far as the picture goes
};

struct DisplayOptions {
    Region region;
    /// At most so large; pictures are made smaller by the mean of what a pixel stands for, and never larger. 0: as is.
    std::uint32_t width = 0, height = 0;
    /// Values that become black and white, in those of the picture's own depth. White 0: all that the depth has.
    std::uint32_t black = 0, white = 0;
    /// Bayer pictures in colour; otherwise their values as grey.
    bool isColour = true;
    /// Pixels that stand for a saturated one become red.
    bool marksSaturation = false;
};

/// The part of a region that lies within the picture; of at least one pixel. Throws Error for an empty picture.
TAVIX_IMAGING_API Region Clip(const PictureView& picture, const Region& region);
/// A Mono8 or RGB8 picture. Throws Error for what is no picture.
TAVIX_IMAGING_API Picture Render(const PictureView& source, const DisplayOptions& options);
/// The values of a region as they are, each in a byte or a word of its own: Mono, Bayer or RGB formats of
/// Packing::Whole. Throws Error for what is no picture.
TAVIX_IMAGING_API Picture TrueValues(const PictureView& source, const Region& region);

} // namespace Tavix::imaging
