#pragma once
// JSON on standard output.

#include <string>

#include <nlohmann/json.hpp>

namespace tool {

/// Lines of JSON. Bytes of a camera's string that are no UTF-8 are replaced, so that the output is always valid.
/// Control characters are escaped, those included that JSON itself does not mind: a terminal obeys them.
std::string JsonText(const nlohmann::json& json);

/// The same on standard output.
void PrintJson(const nlohmann::json& json);

/// For output that goes on while it is read: one value a line, written out at once.
void PrintJsonLine(const nlohmann::json& json);

} // namespace tool
