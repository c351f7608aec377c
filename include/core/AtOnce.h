#pragma once
// Doing the same with several cameras without waiting for one after the other.

#include "core/Export.h"

#include <cstddef>
#include <functional>

namespace Tavix {

/// Calls `step` with each number below `count`, all at the same time as far as there are threads, and returns when all
/// calls have. What the calls throw is thrown then, that of the lowest number.
TAVIX_CORE_API void AtOnce(std::size_t count, const std::function<void(std::size_t)>& step);

} // namespace Tavix
