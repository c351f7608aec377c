#include "core/Printable.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace Tavix {
namespace {

constexpr std::uint32_t kSpace = 0x20;
constexpr std::uint32_t kFirstControl = 0x7F; // DEL, and C1 behind it
constexpr std::uint32_t kLastControl = 0x9F;
constexpr std::uint32_t kFirstSurrogate = 0xD800;
constexpr std::uint32_t kLastSurrogate = 0xDFFF;
constexpr std::uint32_t kLastCharacter = 0x10FFFF;

// What the first byte of a character tells: how many bytes follow, its own bits, the least that so many bytes stand
// for.
struct Lead {
    std::size_t following;
    std::uint32_t bits;
    std::uint32_t least;
};

Lead LeadOf(unsigned char byte) {
    if (byte < 0x80) return {0, byte, 0};
    if (byte >= 0xC0 && byte < 0xE0) return {1, byte & 0x1Fu, 0x80};
    if (byte >= 0xE0 && byte < 0xF0) return {2, byte & 0x0Fu, 0x800};
    if (byte >= 0xF0 && byte < 0xF8) return {3, byte & 0x07u, 0x10000};
    return {0, kLastCharacter + 1, 0}; // begins no character
}

// What a text begins with.
struct Character {
    std::size_t length;
    bool isShown;
};

struct Range {
    std::uint32_t first, last;
};

constexpr Range kTurns[] = {
    {0x061C, 0x061C}, // Arabic letter mark
    {0x200E, 0x200F}, // marks of direction
    {0x2028, 0x202E}, // line and paragraph ends; embeddings and overrides of direction
    {0x2066, 0x2069}, // isolates of direction
};

bool IsShown(std::uint32_t code) {
    const auto holds = [&](const Range& range) { return code >= range.first && code <= range.last; };
    const bool isControl = code < kSpace || (code >= kFirstControl && code <= kLastControl);
    return !isControl && std::none_of(std::begin(kTurns), std::end(kTurns), holds);
}

bool IsWellFormed(std::uint32_t code, std::uint32_t least) {
    const bool isSurrogate = code >= kFirstSurrogate && code <= kLastSurrogate;
    return code >= least && code <= kLastCharacter && !isSurrogate;
}

Character FirstOf(std::string_view text) {
    constexpr Character malformed{1, false};
    const Lead lead = LeadOf(static_cast<unsigned char>(text[0]));
    if (text.size() <= lead.following) return malformed;
    std::uint32_t code = lead.bits;
    for (std::size_t i = 1; i <= lead.following; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0u) != 0x80) return malformed;
        code = code << 6 | (byte & 0x3Fu);
    }
    if (!IsWellFormed(code, lead.least)) return malformed;
    return {lead.following + 1, IsShown(code)};
}

} // namespace

std::string Printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const Character first = FirstOf(text);
        shown += first.isShown ? text.substr(0, first.length) : std::string_view("?");
        text.remove_prefix(first.length);
    }
    return shown;
}

} // namespace Tavix
