#pragma once
// The one door for text that somebody else wrote - a camera, a file, a peer - on its way to a person: to a terminal, a
// log or a page.

#include "core/Export.h"

#include <string>
#include <string_view>

namespace Tavix {

/// The text with '?' for each control character (C0, DEL, and C1, which terminals obey as well), for each character
/// that ends a line or turns the direction of writing, and for each byte that is not part of well-formed UTF-8. So it
/// can neither move a cursor nor begin a line nor show what stands beside it in another order. All else stays.
/// Thread-safe.
[[nodiscard]] TAVIX_CORE_API std::string Printable(std::string_view text);

} // namespace Tavix
