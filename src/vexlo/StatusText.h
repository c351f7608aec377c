#pragma once
// The text of each status code.

#include "vexlo/Status.h"

#include <optional>
#include <string>

namespace vexlo {

/// Nothing for a status that the library never gives.
std::optional<std::string> FindStatusText(VxStatus status);

} // namespace vexlo
