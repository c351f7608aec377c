#pragma once
// Prints what is wrong with a description file.

#include <cstddef>
#include <string>

namespace tool {

enum class ReportForm { Text, Json };

/// Returns the number of findings of severity error. Throws when the file is no description.
std::size_t ReportLint(const std::string& path, ReportForm form);

} // namespace tool
