#pragma once
// Values that came with an event or an image, as they are printed side by side.

#include <map>
#include <string>

#include <nlohmann/json.hpp>
#include <tavix/camera/Value.h>

namespace tool {

/// By their names.
using Values = std::map<std::string, Tavix::Value>;

/// "Name=value Name=value".
std::string ValuesText(const Values& values);
nlohmann::json ValuesJson(const Values& values);

} // namespace tool
