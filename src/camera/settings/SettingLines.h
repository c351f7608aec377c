#pragma once
// How a value stands in a line of a settings file: as a feature bag writes it.

#include <string>

namespace Tavix::detail {

/// Line ends and backslashes behind backslashes.
std::string Escape(const std::string& value);
std::string Unescape(const std::string& text);

} // namespace Tavix::detail
