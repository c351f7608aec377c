#pragma once
// Features as text and as JSON. None of these throws for a fault of the camera.

#include <string>

#include <GenApi/GenApi.h>
#include <nlohmann/json.hpp>

namespace tool {

/// "Integer", "Float", "Enumeration" ...
const char* TypeName(GenApi::INode& node);
/// "RW", "RO", "WO", "NA", "NI"; "??" when the mode cannot be found out.
const char* AccessName(GenApi::INode& node);
/// The value as text, or what keeps it from being read, in parentheses. A fault of the camera goes to `failure`, too.
std::string ValueText(GenApi::INode& node, std::string* failure = nullptr);
/// What could be written: limits, increment or entries, as far as they can be read; limits of a number that are those
/// of its type are left out.
std::string LimitText(GenApi::INode& node);
/// The limits or entries that the description itself tells, for a node map without a camera: as they are written down,
/// else as they follow from what is.
std::string DeclaredText(GenApi::INode& node);
/// The unit of a number; empty for none.
std::string UnitText(GenApi::INode& node);
/// Name, type, access, and what is known of value, unit, limits and entries of a feature.
nlohmann::json FeatureJson(GenApi::INode& node);

} // namespace tool
