#pragma once
// Pictures as PNG.

#include "ImageFile.h"

#include <cstdio>

namespace tool {

/// With the facts as texts, which any viewer shows. False when it cannot be written; errno may tell why.
[[nodiscard]] bool WritePng(std::FILE* file, const Picture& picture, const ImageFacts& facts);

} // namespace tool
