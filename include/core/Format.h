#pragma once
// printf-style text of any length, with the one item that the C library reads differently.

#include "core/Export.h"

#include <cstdarg>
#include <string>

namespace Tavix {

/// Formats stand as they are written and mean what the C library makes of them, with one exception: `%Ix` and `%IX`
/// (flags, width and precision allowed) print a pointer-sized hexadecimal number. So
/// - `%hs` prints a narrow string,
/// - `%i64d` prints an int followed by the text "64d",
/// - `%'%hs'` prints "%hs'" and takes no argument, because "%'%" is a percent sign with a flag,
/// - `%#p` prints a pointer.
/// A null format gives an empty text. Never pass text that came from elsewhere as the format.
/// Thread-safe.
[[nodiscard]] TAVIX_CORE_API std::string Format(const char* format, ...);
[[nodiscard]] TAVIX_CORE_API std::string FormatV(const char* format, va_list arguments);

} // namespace Tavix
