#pragma once
// A conversion as a whole, for a kind of processor that a test or benchmark may choose.

#include "imaging/kernels/Kernels.h"

#include <tavix/imaging/Convert.h>

namespace Tavix::imaging {

/// As Convert().
void ConvertOn(Processor processor, const PictureView& source, const PictureSpan& target,
               const ConvertOptions& options);
/// As Unpack().
void UnpackOn(Processor processor, const PictureView& source, const PictureSpan& target);

} // namespace Tavix::imaging
