#include "genapi/loader/xml/XmlEncoding.h"

#include <cstddef>
#include <cstdint>

namespace genapi {

namespace {

using namespace std::string_view_literals;

constexpr char32_t kReplacement = 0xFFFD;

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool SaysLatin(std::string_view xml) {
    if (!StartsWith(xml, "<?xml")) return false;
    const std::string_view declaration = xml.substr(0, xml.find("?>"));
    for (const std::string_view name : {"8859-1"sv, "latin1"sv, "LATIN1"sv}) {
        if (declaration.find(name) != std::string_view::npos) return true;
    }
    return false;
}

// How the units of a text are to be read.
struct Units {
    std::size_t size; // in bytes
    bool isBigEndian;
};

Units UnitsOf(std::string_view xml) {
    for (const std::string_view start : {"\0\0\xFE\xFF"sv, "\0\0\0<"sv}) {
        if (StartsWith(xml, start)) return {4, true};
    }
    for (const std::string_view start : {"\xFF\xFE\0\0"sv, "<\0\0\0"sv}) {
        if (StartsWith(xml, start)) return {4, false};
    }
    for (const std::string_view start : {"\xFE\xFF"sv, "\0<"sv}) {
        if (StartsWith(xml, start)) return {2, true};
    }
    for (const std::string_view start : {"\xFF\xFE"sv, "<\0"sv}) {
        if (StartsWith(xml, start)) return {2, false};
    }
    return {1, false};
}

void Append(std::string& text, char32_t point) {
    const bool isSurrogate = point >= 0xD800 && point <= 0xDFFF;
    if (isSurrogate || point > 0x10FFFF) point = kReplacement;
    const auto tail = [&text, point](unsigned shift) { text += static_cast<char>(0x80U | (point >> shift & 0x3FU)); };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0U | point >> 6U);
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0U | point >> 12U);
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0U | point >> 18U);
        tail(12);
        tail(6);
        tail(0);
    }
}

char32_t UnitAt(std::string_view xml, std::size_t at, Units units) {
    char32_t unit = 0;
    for (std::size_t i = 0; i < units.size; ++i) {
        const auto byte = static_cast<uint8_t>(xml[units.isBigEndian ? at + i : at + units.size - 1 - i]);
        unit = unit << 8U | byte;
    }
    return unit;
}

} // namespace

bool NeedsConversion(std::string_view xml) {
    return UnitsOf(xml).size > 1 || SaysLatin(xml);
}

std::string ConvertToUtf8(std::string_view xml) {
    const Units units = UnitsOf(xml);
    std::string text;
    text.reserve(xml.size() / units.size);
    for (std::size_t at = 0; at + units.size <= xml.size(); at += units.size) {
        char32_t point = UnitAt(xml, at, units);
        if (units.size > 1 && at == 0 && point == 0xFEFF) continue;
        const bool isHigh = units.size == 2 && point >= 0xD800 && point < 0xDC00 && at + 4 <= xml.size();
        const char32_t low = isHigh ? UnitAt(xml, at + 2, units) : 0;
        if (low >= 0xDC00 && low < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10U) + (low - 0xDC00);
            at += units.size;
        }
        Append(text, point);
    }
    return text;
}

} // namespace genapi
