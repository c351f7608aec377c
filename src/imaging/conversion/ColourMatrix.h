#pragma once
// How luma and chroma of a colour model become red, green and blue.

#include "imaging/kernels/Kernels.h"

#include <tavix/imaging/PixelFormat.h>

namespace Tavix::imaging {

/// For samples of so many bits that were brought to `sampleBits`, 8 or 16.
ColourMatrix MatrixFor(ColourModel model, unsigned bits, unsigned sampleBits);

} // namespace Tavix::imaging
