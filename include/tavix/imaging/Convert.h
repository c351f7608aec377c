#pragma once
// Camera pixels to pixels that programs and people know. Re-entrant.
//
// From every format of the table with a colour model to Mono8, Mono16, RGB8, BGR8, RGBa8 and BGRa8. Samples come first
// to the depth of the target, white to white and black to black (12 to 8 bits: the high ones; 12 to 16: the high ones
// again below), then to its colours. Grey of colours is their luma of BT.601; alpha that the source does not have is
// opaque. Chroma that pixels share counts for each of them as it is.

#include <tavix/imaging/Error.h>
#include <tavix/imaging/Export.h>
#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

/// How colours that a pixel of a Bayer picture lacks are found. At borders the picture is mirrored at its outermost
/// pixels, which keeps the phase.
enum class Demosaicing {
    Bilinear, ///< the mean of the two or four neighbours that have the colour
    EdgeAware ///< green along edges rather than across them, then red and blue by their difference to green
};

struct ConvertOptions {
    Demosaicing demosaicing = Demosaicing::Bilinear;
};

TAVIX_IMAGING_API bool IsConvertible(PixelFormat source, PixelFormat target) noexcept;
/// Writes into memory of the caller, which must not overlap the source. Throws Error, before anything is written, if it
/// cannot be done or one of the memories is too small.
TAVIX_IMAGING_API void Convert(const PictureView& source, const PictureSpan& target,
                               const ConvertOptions& options = {});
TAVIX_IMAGING_API Picture Convert(const PictureView& source, PixelFormat target, const ConvertOptions& options = {});

/// The format that has the same components in the same order, each in a byte or a word of its own: BayerRG12 for
/// BayerRG12p, RGB10 for RGB10p32. Undefined if the table has none. Below 8 bits that is the format of 8 bits, with
/// white as white; from 8 bits on, values stay as they are.
TAVIX_IMAGING_API PixelFormat UnpackedFormat(PixelFormat format) noexcept;
/// The target's format is that of UnpackedFormat(). Throws as Convert() does.
TAVIX_IMAGING_API void Unpack(const PictureView& source, const PictureSpan& target);
TAVIX_IMAGING_API Picture Unpack(const PictureView& source);

} // namespace Tavix::imaging
