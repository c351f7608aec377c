#include "genapi/adapter/HexId.h"

#include "genapi/description/Lexical.h"

namespace genapi {

std::optional<uint64_t> ParseId(std::string_view text) {
    text = Trim(text);
    while (text.size() > 16 && text.front() == '0')
        text.remove_prefix(1);
    uint64_t number = 0;
    if (text.empty() || text.size() > 16) return std::nullopt;
    for (const char character : text) {
        const char lower = character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
        const bool isDigit = lower >= '0' && lower <= '9';
        if (!isDigit && !(lower >= 'a' && lower <= 'f')) return std::nullopt;
        number = number << 4 | static_cast<uint64_t>(isDigit ? lower - '0' : lower - 'a' + 10);
    }
    return number;
}

std::optional<uint64_t> LoadId(const uint8_t* pBytes, std::size_t length) {
    if (!pBytes || length == 0) return std::nullopt;
    uint64_t number = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (number >> 56) return std::nullopt;
        number = number << 8 | pBytes[i];
    }
    return number;
}

} // namespace genapi
