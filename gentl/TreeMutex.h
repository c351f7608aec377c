#pragma once
// The lock of the tree of modules.

#include "core/Mutex.h"

namespace gentl {

/// One lock for places and handles: the tree of modules changes in one place at a time. Cameras are waited for without
/// it, and no thread is joined with it.
Tavix::Mutex& TreeMutex();

} // namespace gentl
