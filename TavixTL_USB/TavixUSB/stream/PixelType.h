#pragma once
// From the camera's pixel formats to the SDK's pixel types.

#include "tavix/Result.h"

namespace Tavix {

/// PixelType_Undefined for a format that the SDK does not know.
EPixelType PixelTypeOf(std::uint32_t pixelFormat);

} // namespace Tavix
