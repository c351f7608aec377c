#pragma once
// Values of features as they are printed side by side.

#include <string>
#include <vector>

#include <GenApi/GenApi.h>
#include <nlohmann/json.hpp>

namespace tool {

/// A feature's name with its value at one moment. Re-entrant.
struct NamedValue {
    std::string name;
    std::string text;     ///< for a terminal
    nlohmann::json value; ///< with its type
};

NamedValue ReadValue(GenApi::INode& node);
/// "Name=value Name=value".
std::string ValuesText(const std::vector<NamedValue>& values);
nlohmann::json ValuesJson(const std::vector<NamedValue>& values);

} // namespace tool
