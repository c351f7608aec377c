#include "genapi/loader/xml/XmlCharacters.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kStride = 64;
constexpr std::size_t kNear = 16;

// Without a branch or a table, so that compilers make it a few instructions on whole vectors.
bool HasSpecial(const char* block) {
    uint8_t found = 0;
    for (std::size_t i = 0; i < kStride; ++i) {
        const auto c = static_cast<uint8_t>(block[i]);
        const bool isBlank = (c == '\t') | (c == '\n') | (c == '\r');
        found |= static_cast<uint8_t>(((c < 0x20) & !isBlank) | (c == '&') | (c == ']'));
    }
    return found != 0;
}

std::size_t FindOneByOne(std::string_view text, std::size_t from, std::size_t end) {
    while (from < end && !IsXml(text[from], kXmlSpecial))
        ++from;
    return from;
}

} // namespace

std::size_t FindXmlSpecial(std::string_view text, std::size_t from) {
    // They come in crowds.
    const std::size_t near = std::min(text.size(), from + kNear);
    from = FindOneByOne(text, from, near);
    if (from < near) return from;
    while (text.size() - from >= kStride && !HasSpecial(text.data() + from))
        from += kStride;
    return FindOneByOne(text, from, text.size());
}

} // namespace genapi
