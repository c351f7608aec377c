#pragma once
// JSON on standard output.

#include <cstdio>

#include <nlohmann/json.hpp>

namespace tool {

/// Bytes of a camera's string that are no UTF-8 are replaced, so that the output is always valid.
inline void PrintJson(const nlohmann::json& json) {
    std::printf("%s\n", json.dump(2, ' ', /*ensure_ascii=*/false, nlohmann::json::error_handler_t::replace).c_str());
}

/// For output that goes on while it is read: one value a line, written out at once.
inline void PrintJsonLine(const nlohmann::json& json) {
    std::printf("%s\n", json.dump(-1, ' ', /*ensure_ascii=*/false, nlohmann::json::error_handler_t::replace).c_str());
    std::fflush(stdout);
}

} // namespace tool
