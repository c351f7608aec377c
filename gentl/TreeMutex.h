#pragma once
// The lock of the tree of modules.

#include "core/Mutex.h"

namespace gentl {

/// One lock for opening and closing: the tree of modules changes in one place at a time. Cameras that do not answer are
/// waited for without it. Taken before any other lock of the producer; no thread is joined and no consumer called with
/// it, apart from those that end a stream.
Tavix::Mutex& TreeMutex();

} // namespace gentl
