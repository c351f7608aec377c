#pragma once
// The encodings that descriptions come in.

#include <string>
#include <string_view>

namespace genapi {

/// UTF-8 is used as it is, whatever bytes occur: files that say so hold bytes of other encodings now and then. True for
/// anything else that says so by its first bytes or its declaration.
[[nodiscard]] bool NeedsConversion(std::string_view xml);

/// UTF-16, UTF-32 and ISO 8859-1 as UTF-8, without a byte order mark; what is no code point becomes U+FFFD. Line ends
/// stay where they are. At most 1.5 times as long, ISO 8859-1 twice.
[[nodiscard]] std::string ConvertToUtf8(std::string_view xml);

} // namespace genapi
