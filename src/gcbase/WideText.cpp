#include "gcbase/WideText.h"

#include <cstdint>

namespace GenICam {
namespace {

static_assert(sizeof(wchar_t) == 4, "wide text holds one code point an element");

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsCodePoint(std::uint32_t value) {
    return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

struct Sequence {
    std::size_t length;    // of the whole sequence; 0 = no first byte
    std::uint32_t bits;    // those of the first byte
    std::uint32_t minimum; // smaller values have a shorter form
};

Sequence SequenceOf(unsigned char first) {
    if (first < 0x80) return {1, first, 0};
    if (first >= 0xC0 && first < 0xE0) return {2, first & 0x1Fu, 0x80};
    if (first >= 0xE0 && first < 0xF0) return {3, first & 0x0Fu, 0x800};
    if (first >= 0xF0 && first < 0xF8) return {4, first & 0x07u, 0x10000};
    return {0, 0, 0};
}

// Reads one code point off the front of the text, which is not empty.
std::uint32_t TakeCodePoint(std::string_view& text) {
    const Sequence sequence = SequenceOf(static_cast<unsigned char>(text.front()));
    text.remove_prefix(1);
    if (sequence.length == 0) return kReplacement;
    std::uint32_t value = sequence.bits;
    for (std::size_t i = 1; i < sequence.length; ++i) {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) != 0x80) return kReplacement;
        value = value << 6 | (static_cast<unsigned char>(text.front()) & 0x3Fu);
        text.remove_prefix(1);
    }
    return value >= sequence.minimum && IsCodePoint(value) ? value : kReplacement;
}

void AppendUtf8(std::string& out, std::uint32_t value) {
    const auto continuation = [&](unsigned int shift) {
        out.push_back(static_cast<char>(0x80 | (value >> shift & 0x3F)));
    };
    if (value < 0x80) {
        out.push_back(static_cast<char>(value));
    } else if (value < 0x800) {
        out.push_back(static_cast<char>(0xC0 | value >> 6));
        continuation(0);
    } else if (value < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | value >> 12));
        continuation(6);
        continuation(0);
    } else {
        out.push_back(static_cast<char>(0xF0 | value >> 18));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

} // namespace

std::wstring ToWide(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    while (!text.empty())
        wide.push_back(static_cast<wchar_t>(TakeCodePoint(text)));
    return wide;
}

std::string ToUtf8(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t character : text) {
        const auto value = static_cast<std::uint32_t>(character);
        AppendUtf8(narrow, IsCodePoint(value) ? value : kReplacement);
    }
    return narrow;
}

} // namespace GenICam
