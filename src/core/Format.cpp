#include "core/Format.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace Tavix {
namespace {

const char* SkipAnyOf(const char* at, const char* characters) {
    return at + std::strspn(at, characters);
}

// The place after flags, width and precision of the item whose percent sign stands before `at`.
const char* SkipToLengthModifier(const char* at) {
    at = SkipAnyOf(at, "-+ #0'");
    at = SkipAnyOf(at, "0123456789*$");
    if (*at == '.') at = SkipAnyOf(at + 1, "-0123456789*$");
    return at;
}

// Turns the 'I' of each "%Ix" into the 'z' that the C library knows, in place.
void TranslatePointerSizedItems(std::string& format) {
    const char* at = format.c_str();
    while ((at = std::strchr(at, '%')) != nullptr) {
        at = SkipToLengthModifier(at + 1);
        if (at[0] == 'I' && (at[1] == 'x' || at[1] == 'X')) format[static_cast<std::size_t>(at - format.c_str())] = 'z';
        if (*at != '\0') ++at; // past the conversion (or a modifier, which is no percent sign either)
    }
}

std::string Print(const char* format, va_list arguments) {
    std::array<char, 512> small;
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(small.data(), small.size(), format, arguments);
    std::string text;
    if (length > 0 && static_cast<std::size_t>(length) < small.size()) {
        text.assign(small.data(), static_cast<std::size_t>(length));
    } else if (length > 0) {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

} // namespace

std::string FormatV(const char* format, va_list arguments) {
    if (format == nullptr) return {};
    if (std::strchr(format, 'I') == nullptr) return Print(format, arguments);
    std::string translated(format);
    TranslatePointerSizedItems(translated);
    return Print(translated.c_str(), arguments);
}

std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatV(format, arguments);
    va_end(arguments);
    return text;
}

} // namespace Tavix
