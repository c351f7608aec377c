#include "output/Json.h"

#include <cstdio>

namespace tool {
namespace {

/// DEL and C1 (two bytes of UTF-8 that begin with C2), which stand in strings only.
std::string WithoutControls(const std::string& json) {
    std::string text;
    text.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto byte = static_cast<unsigned char>(json[i]);
        const auto next = static_cast<unsigned char>(i + 1 < json.size() ? json[i + 1] : '\0');
        const bool isC1 = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (!isC1 && byte != 0x7F) {
            text += json[i];
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(isC1 ? next : byte));
        text += escape;
        if (isC1) ++i;
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
