#pragma once
// Checks a description for what is wrong or doubtful in it.

#include "genapi/lint/Finding.h"

#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/// All that is found, in the order of the text. Throws GenICam::RuntimeException when the text is no description at
/// all; `source` is named in its message. Re-entrant; cost is about linear in the size of the text.
[[nodiscard]] std::vector<Finding> LintDescription(std::string_view xml, std::string_view source = "description");

/// The same for a file, which may be an archive.
[[nodiscard]] std::vector<Finding> LintDescriptionFile(const std::string& path);

} // namespace genapi
