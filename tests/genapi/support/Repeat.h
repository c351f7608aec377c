#pragma once
// Texts that are long because a part of them comes again and again.

#include <string>
#include <string_view>

namespace genapi::testkit {

inline std::string Repeat(std::string_view part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

} // namespace genapi::testkit
