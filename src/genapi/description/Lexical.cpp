#include "genapi/description/Lexical.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace genapi {

namespace {

constexpr bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

constexpr bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool HasHexPrefix(std::string_view text) {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::optional<uint64_t> ParseHexDigits(std::string_view digits) noexcept {
    if (digits.empty() || digits.size() > 16) return std::nullopt;
    uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

std::optional<double> ParseSpecialFloat(std::string_view text) noexcept {
    if (text == "INF" || text == "+INF") return std::numeric_limits<double>::infinity();
    if (text == "-INF") return -std::numeric_limits<double>::infinity();
    if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
    return std::nullopt;
}

// from_chars leaves the number alone when it is out of range; which end it fell off shows in its exponent.
double OutOfRangeFloat(std::string_view text) noexcept {
    const bool isNegative = text[0] == '-';
    const std::size_t exponent = text.find_first_of("eE");
    bool isTiny = exponent != std::string_view::npos && exponent + 1 < text.size() && text[exponent + 1] == '-';
    if (exponent == std::string_view::npos) isTiny = text.find_first_of("123456789") > text.find('.');
    const double magnitude = isTiny ? 0.0 : std::numeric_limits<double>::infinity();
    return isNegative ? -magnitude : magnitude;
}

struct Word {
    Keyword family;
    std::string_view text;
    int number;
};

constexpr Word kWords[] = {
    {Keyword::Visibility, "Beginner", 0},
    {Keyword::Visibility, "Expert", 1},
    {Keyword::Visibility, "Guru", 2},
    {Keyword::Visibility, "Invisible", 3},
    {Keyword::AccessMode, "RO", 3},
    {Keyword::AccessMode, "RW", 4},
    {Keyword::AccessMode, "WO", 2},
    {Keyword::AccessMode, "NA", 1},
    {Keyword::AccessMode, "NI", 0},
    {Keyword::AccessMode, "R", 3},
    {Keyword::AccessMode, "W", 2},
    {Keyword::CachingMode, "NoCache", 0},
    {Keyword::CachingMode, "WriteThrough", 1},
    {Keyword::CachingMode, "WriteAround", 2},
    {Keyword::Representation, "Linear", 0},
    {Keyword::Representation, "Logarithmic", 1},
    {Keyword::Representation, "Boolean", 2},
    {Keyword::Representation, "PureNumber", 3},
    {Keyword::Representation, "HexNumber", 4},
    {Keyword::Representation, "IPV4Address", 5},
    {Keyword::Representation, "MACAddress", 6},
    {Keyword::Sign, "Signed", 0},
    {Keyword::Sign, "Unsigned", 1},
    {Keyword::Endianess, "BigEndian", 0},
    {Keyword::Endianess, "LittleEndian", 1},
    {Keyword::YesNo, "No", 0},
    {Keyword::YesNo, "Yes", 1},
    {Keyword::NameSpace, "Custom", 0},
    {Keyword::NameSpace, "Standard", 1},
    {Keyword::StandardName, "None", 0},
    {Keyword::StandardName, "GEV", 1},
    {Keyword::StandardName, "IIDC", 2},
    {Keyword::StandardName, "CL", 3},
    {Keyword::StandardName, "USB", 4},
    {Keyword::Slope, "Increasing", 0},
    {Keyword::Slope, "Decreasing", 1},
    {Keyword::Slope, "Varying", 2},
    {Keyword::Slope, "Automatic", 3},
    {Keyword::DisplayNotation, "Automatic", 0},
    {Keyword::DisplayNotation, "Fixed", 1},
    {Keyword::DisplayNotation, "Scientific", 2},
};

// The words of a family stand together.
constexpr std::size_t kFamilies = static_cast<std::size_t>(Keyword::DisplayNotation) + 1;
struct Words {
    const Word* begin = nullptr;
    const Word* end = nullptr;
};
constexpr std::array<Words, kFamilies> kWordsOf = [] {
    std::array<Words, kFamilies> families{};
    for (const Word& word : kWords) {
        Words& words = families[static_cast<std::size_t>(word.family)];
        if (words.begin == nullptr) words.begin = &word;
        words.end = &word + 1;
    }
    return families;
}();

} // namespace

std::string_view TrimBlanks(std::string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::optional<int64_t> ParseInteger(std::string_view text) noexcept {
    text = Trim(text);
    if (HasHexPrefix(text)) {
        const std::optional<uint64_t> pattern = ParseHexDigits(text.substr(2));
        if (!pattern) return std::nullopt;
        return static_cast<int64_t>(*pattern);
    }
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 10);
    if (text.empty() || error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

std::optional<double> ParseFloat(std::string_view text) noexcept {
    text = Trim(text);
    if (HasHexPrefix(text)) {
        const std::optional<int64_t> number = ParseInteger(text);
        if (!number) return std::nullopt;
        return static_cast<double>(*number);
    }
    if (const std::optional<double> special = ParseSpecialFloat(text)) return special;
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const std::size_t first = !text.empty() && text[0] == '-' ? 1 : 0;
    if (first >= text.size() || !(IsDigit(text[first]) || text[first] == '.')) return std::nullopt;
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::general);
    if (stop != end) return std::nullopt;
    if (error == std::errc::result_out_of_range) return OutOfRangeFloat(text);
    if (error != std::errc{}) return std::nullopt;
    return number;
}

std::optional<bool> ParseBoolean(std::string_view text) noexcept {
    text = Trim(text);
    if (text == "1" || EqualsIgnoringCase(text, "true")) return true;
    if (text == "0" || EqualsIgnoringCase(text, "false")) return false;
    return std::nullopt;
}

std::optional<bool> ParseYesNo(std::string_view text) noexcept {
    const std::optional<int> number = ParseKeyword(Keyword::YesNo, text);
    if (!number) return std::nullopt;
    return *number != 0;
}

bool IsHexPairs(std::string_view text) noexcept {
    text = Trim(text);
    return !text.empty() && text.size() % 2 == 0 && std::all_of(text.begin(), text.end(), IsHexDigit);
}

std::optional<int> ParseKeyword(Keyword family, std::string_view text) noexcept {
    text = Trim(text);
    const Words& words = kWordsOf[static_cast<std::size_t>(family)];
    const Word* const found =
        std::find_if(words.begin, words.end, [text](const Word& word) { return word.text == text; });
    if (found == words.end) return std::nullopt;
    return found->number;
}

} // namespace genapi
