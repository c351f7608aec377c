#pragma once
// Reading files that a user named.

#include <cstddef>
#include <string>

namespace virtualcam {

/// The whole of a regular file of `most` bytes at most: a pipe would keep its reader waiting, and a device may never
/// end. Throws std::runtime_error with the reason, which does not repeat the path.
std::string ReadRegularFile(const std::string& path, std::size_t most);

} // namespace virtualcam
