#include "stream/PixelType.h"

#include <tavix/imaging/PixelFormat.h>

namespace Tavix {

[[gnu::hot]] EPixelType PixelTypeOf(std::uint32_t pixelFormat) {
    const imaging::PixelFormatInfo* info = imaging::FindPixelFormat(imaging::PixelFormat{pixelFormat});
    return info ? info->pixelType : PixelType_Undefined;
}

} // namespace Tavix
