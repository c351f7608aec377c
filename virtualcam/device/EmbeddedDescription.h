#pragma once
// The description file of description/, built into the library by cmake/EmbedDescription.cmake.

#include <cstddef>

namespace virtualcam {

extern const unsigned char kEmbeddedDescription[];
extern const std::size_t kEmbeddedDescriptionSize;

} // namespace virtualcam
