#pragma once
// Narrow UTF-8 text to wide text (one code point an element) and back.

#include <string>
#include <string_view>

namespace GenICam {

// What is no valid UTF-8 (stray bytes, overlong forms, surrogates, cut sequences) becomes U+FFFD, one per bad byte run.
std::wstring ToWide(std::string_view text);

// What is no code point (surrogates, values above U+10FFFF) becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

} // namespace GenICam
