#pragma once
// The transport layer's log categories.

#include "core/Log.h"

namespace Tavix {

// Each looks its category up once, on first use. Thread-safe.
unsigned int LogCategoryTl();
unsigned int LogCategoryDevice();
unsigned int LogCategoryStream();
unsigned int LogCategoryEventStream();

} // namespace Tavix
