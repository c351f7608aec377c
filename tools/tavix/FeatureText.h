#pragma once
// Features as text and as JSON.

#include <string>

#include <GenApi/GenApi.h>
#include <nlohmann/json.hpp>

namespace tool {

/// "Integer", "Float", "Enumeration" ...
const char* TypeName(GenApi::INode& node);
/// "RW", "RO", "WO", "NA", "NI"; "??" when the mode cannot be found out.
const char* AccessName(GenApi::INode& node);
/// The value as text, or what keeps it from being read, in parentheses. Never throws.
std::string ValueText(GenApi::INode& node);
/// Limits, increment, unit or entries, as far as they can be read; empty when there are none. Never throws.
std::string LimitText(GenApi::INode& node);
/// Name, type, access, value, limits and entries of a feature. Never throws.
nlohmann::json FeatureJson(GenApi::INode& node);

} // namespace tool
