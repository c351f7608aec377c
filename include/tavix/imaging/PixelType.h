#pragma once
// The SDK's pixel types by name: what IGrabResult::GetPixelType() and results in general answer.

#include <cstdint>

namespace Tavix {

// PixelType_Mono8, PixelType_BayerRG12p, ...: each bears the name of the pixel format that it stands for.
#define TAVIX_PIXEL_FORMAT(...)
#define TAVIX_SDK_PIXEL_FORMAT(type, name, ...)                                                                        \
    inline constexpr std::int32_t PixelType_##name = static_cast<std::int32_t>(type);
#include <tavix/imaging/PixelFormats.inc>

} // namespace Tavix
