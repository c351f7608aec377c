#include "genapi/nodes/text/TextForms.h"

#include "genapi/description/Lexical.h"

#include <charconv>
#include <cstdio>

namespace genapi {

namespace {

std::optional<int64_t> ParseGroups(std::string_view text, char separator, unsigned count, int base) {
    uint64_t number = 0;
    for (unsigned i = 0; i < count; ++i) {
        unsigned group = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), group, base);
        if (error != std::errc() || group > 255) return std::nullopt;
        number = number << 8 | group;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        const bool isLast = i + 1 == count;
        if (isLast != text.empty()) return std::nullopt;
        if (isLast) break;
        if (text.front() != separator) return std::nullopt;
        text.remove_prefix(1);
    }
    return static_cast<int64_t>(number);
}

std::string FormatGroups(int64_t value, char separator, int count, bool isHex) {
    std::string text;
    for (int i = count - 1; i >= 0; --i) {
        char group[8];
        const unsigned byte = static_cast<unsigned>(static_cast<uint64_t>(value) >> (8 * i)) & 0xFFu;
        std::snprintf(group, sizeof group, isHex ? "%02x" : "%u", byte);
        text += group;
        if (i > 0) text += separator;
    }
    return text;
}

int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

} // namespace

std::string FormatInteger(int64_t value, GenApi::ERepresentation representation) {
    char text[24];
    switch (representation) {
    case GenApi::HexNumber: {
        const auto end = std::to_chars(text, text + sizeof text, static_cast<uint64_t>(value), 16).ptr;
        return "0x" + std::string(text, end);
    }
    case GenApi::IPV4Address:
        return FormatGroups(value, '.', 4, /*isHex=*/false);
    case GenApi::MACAddress:
        return FormatGroups(value, ':', 6, /*isHex=*/true);
    default:
        return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
    }
}

std::optional<int64_t> ParseIntegerText(std::string_view text, GenApi::ERepresentation representation) {
    text = Trim(text);
    if (const std::optional<int64_t> number = ParseInteger(text)) return number;
    if (representation == GenApi::IPV4Address) return ParseGroups(text, '.', 4, 10);
    if (representation == GenApi::MACAddress) return ParseGroups(text, ':', 6, 16);
    return std::nullopt;
}

std::string FormatReal(double value, GenApi::EDisplayNotation notation, int64_t precision) {
    const int digits = precision < 0 ? 0 : precision > 100 ? 100 : static_cast<int>(precision);
    std::chars_format format = std::chars_format::general;
    if (notation == GenApi::fnFixed) format = std::chars_format::fixed;
    if (notation == GenApi::fnScientific) format = std::chars_format::scientific;
    char text[512]; // the largest double has 309 digits before the point
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value, format, digits);
    return std::string(text, end.ptr);
}

std::string FormatBytes(const std::vector<uint8_t>& bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text = "0x";
    text.reserve(2 + 2 * bytes.size());
    for (const uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<std::vector<uint8_t>> ParseBytes(std::string_view text, std::size_t length) {
    text = Trim(text);
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text.remove_prefix(2);
    if (text.size() != 2 * length) return std::nullopt;
    std::vector<uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        const int high = HexDigit(text[2 * i]);
        const int low = HexDigit(text[2 * i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes[i] = static_cast<uint8_t>(high << 4 | low);
    }
    return bytes;
}

} // namespace genapi
