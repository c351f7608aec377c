#pragma once
// Text forms of property values. Pure functions, independent of the process's locale; none throws.

#include <cstdint>
#include <optional>
#include <string_view>

namespace genapi {

[[nodiscard]] constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// Without XML white space (blank, tab, line ends) at both ends.
[[nodiscard]] std::string_view TrimBlanks(std::string_view text) noexcept;

/// The same, soon done where nothing is to be trimmed, as is the rule.
[[nodiscard]] inline std::string_view Trim(std::string_view text) noexcept {
    const auto isNoBlank = [](char c) { return static_cast<unsigned char>(c) > ' '; };
    if (!text.empty() && isNoBlank(text.front()) && isNoBlank(text.back())) return text;
    return TrimBlanks(text);
}

// All parsers below accept white space around the value and nothing else besides it.

/// "0x" and up to 16 hexadecimal digits, taken as a 64-bit pattern (0xFFFFFFFFFFFFFFFF is -1), or decimal digits with
/// an optional minus sign. A leading zero is decimal. Nothing when malformed or beyond 64 bits.
[[nodiscard]] std::optional<int64_t> ParseInteger(std::string_view text) noexcept;

/// Sign, decimals, exponent; INF, -INF, NaN; also the forms of ParseInteger. Overflow gives infinity, underflow zero.
[[nodiscard]] std::optional<double> ParseFloat(std::string_view text) noexcept;

/// true, false, 1, 0 in any letter case.
[[nodiscard]] std::optional<bool> ParseBoolean(std::string_view text) noexcept;

/// Yes, No.
[[nodiscard]] std::optional<bool> ParseYesNo(std::string_view text) noexcept;

/// An even, non-zero number of hexadecimal digits without prefix (EventID, ChunkID).
[[nodiscard]] bool IsHexPairs(std::string_view text) noexcept;

/// Families of keywords. ParseKeyword gives the number that the public enumeration of that name has.
enum class Keyword : uint8_t {
    Visibility,      ///< Beginner 0, Expert, Guru, Invisible
    AccessMode,      ///< WO 2, RO 3, RW 4; also NI 0, NA 1, and R, W for RO, WO
    CachingMode,     ///< NoCache 0, WriteThrough, WriteAround
    Representation,  ///< Linear 0, Logarithmic, Boolean, PureNumber, HexNumber, IPV4Address, MACAddress
    Sign,            ///< Signed 0, Unsigned
    Endianess,       ///< BigEndian 0, LittleEndian // sic
    YesNo,           ///< No 0, Yes
    NameSpace,       ///< Custom 0, Standard
    StandardName,    ///< None 0, GEV, IIDC, CL, USB
    Slope,           ///< Increasing 0, Decreasing, Varying, Automatic
    DisplayNotation, ///< Automatic 0, Fixed, Scientific
};

/// Case-sensitive.
[[nodiscard]] std::optional<int> ParseKeyword(Keyword family, std::string_view text) noexcept;

template<class Enumeration>
[[nodiscard]] std::optional<Enumeration> ParseKeywordAs(Keyword family, std::string_view text) noexcept {
    const std::optional<int> number = ParseKeyword(family, text);
    if (!number) return std::nullopt;
    return static_cast<Enumeration>(*number);
}

} // namespace genapi
