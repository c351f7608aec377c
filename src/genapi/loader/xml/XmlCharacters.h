#pragma once
// The classes of characters that the check of a text tells apart.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace genapi {

enum XmlClass : uint8_t {
    kXmlBlank = 1,
    kXmlNameStart = 2,
    kXmlNamePart = 4,
    kXmlControl = 8,    ///< those that may stand nowhere
    kXmlSpecial = 16,   ///< in texts: references, what may begin the end of a section, controls
    kXmlEndsValue = 32, ///< quotes, markup, references, controls
};

inline constexpr std::array<uint8_t, 256> kXmlClasses = [] {
    std::array<uint8_t, 256> classes{};
    for (unsigned c = 0; c < 256; ++c) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool isStart = isLetter || c == '_' || c == ':' || c >= 0x80;
        const bool isPart = isStart || (c >= '0' && c <= '9') || c == '-' || c == '.';
        const bool isControl = c < 0x20 && !isBlank;
        const bool isQuote = c == '"' || c == '\'';
        classes[c] = static_cast<uint8_t>((isBlank ? kXmlBlank : 0) | (isStart ? kXmlNameStart : 0) |
                                          (isPart ? kXmlNamePart : 0) | (isControl ? kXmlControl : 0) |
                                          (isControl || c == '&' || c == ']' ? kXmlSpecial : 0) |
                                          (isControl || c == '&' || c == '<' || isQuote ? kXmlEndsValue : 0));
    }
    return classes;
}();

constexpr bool IsXml(char c, uint8_t set) {
    return (kXmlClasses[static_cast<uint8_t>(c)] & set) != 0;
}

/// How many of eight characters are letters, before the first that is none.
[[nodiscard]] inline std::size_t XmlLettersInFront(const char* at) {
    constexpr uint64_t kEach = 0x0101010101010101;
    constexpr uint64_t kTop = 0x80 * kEach;
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    const uint64_t lower = (word | 0x20 * kEach) & ~kTop;
    const uint64_t fromA = lower + (0x80 - 'a') * kEach; // with the top bit where it is 'a' or more
    const uint64_t beyondZ = lower + (0x7F - 'z') * kEach;
    const uint64_t others = ~(fromA & ~beyondZ & ~word) & kTop;
    if (others == 0) return sizeof word;
    const bool isLittle = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    return static_cast<std::size_t>(isLittle ? __builtin_ctzll(others) : __builtin_clzll(others)) / 8;
}

/// Where the part of a name that begins there ends: at the first character that may be no part of one.
[[nodiscard]] inline const char* XmlNameEnd(const char* at, const char* end) {
    constexpr std::size_t kWord = sizeof(uint64_t);
    while (static_cast<std::size_t>(end - at) >= kWord) {
        const std::size_t letters = XmlLettersInFront(at);
        at += letters;
        if (letters == kWord) continue;
        if (!IsXml(*at, kXmlNamePart)) return at;
        ++at;
    }
    while (at != end && IsXml(*at, kXmlNamePart))
        ++at;
    return at;
}

/// The first character from there on that is special in a text; its size when none is. Looks at many characters at
/// once, and at none behind the text.
[[nodiscard]] std::size_t FindXmlSpecial(std::string_view text, std::size_t from);

} // namespace genapi
