#include "output/Json.h"

#include "core/Printable.h"

#include <cstdio>
#include <string_view>

namespace tool {
namespace {

/// The bytes of the first character of text that is well-formed.
std::string_view FirstOf(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return text.substr(0, length);
}

/// As JSON writes a character by its number, which is below 0x10000.
std::string Escaped(std::string_view character) {
    auto code = static_cast<unsigned int>(static_cast<unsigned char>(character.front()));
    if (character.size() > 1) code &= 0x7Fu >> character.size();
    for (const char byte : character.substr(1))
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", code & 0xFFFFu);
    return escape;
}

/// What no terminal may get, and JSON does not mind, stands in strings only.
std::string WithoutControls(std::string_view json) {
    std::string text;
    text.reserve(json.size());
    while (!json.empty()) {
        const std::string_view first = FirstOf(json);
        const bool isPlain = (first.size() == 1 && first.front() != '\x7F') || Tavix::Printable(first) == first;
        text += isPlain ? std::string(first) : Escaped(first);
        json.remove_prefix(first.size());
    }
    return text;
}

std::string Dump(const nlohmann::json& json, int indent) {
    return WithoutControls(json.dump(indent, ' ', /*ensure_ascii=*/false, nlohmann::json::error_handler_t::replace));
}

} // namespace

std::string JsonText(const nlohmann::json& json) {
    return Dump(json, 2) + "\n";
}

void PrintJson(const nlohmann::json& json) {
    std::fputs(JsonText(json).c_str(), stdout);
}

void PrintJsonLine(const nlohmann::json& json) {
    std::printf("%s\n", Dump(json, -1).c_str());
    std::fflush(stdout);
}

} // namespace tool
