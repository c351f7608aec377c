#pragma once
// Image files.

#include "Options.h"
#include "PixelConversion.h"

#include <string>

namespace tool {

/// Extension with its dot, for images of that format.
const char* Extension(ImageFormat format);
/// Writes one image. Raw files hold the bytes as the camera sent them; so do PNG and PGM of formats that cannot be
/// converted, with the extension .raw instead. Returns the path written. Throws Error.
std::string WriteImage(const std::string& pathWithoutExtension, ImageFormat format, const ImageView& view);

} // namespace tool
