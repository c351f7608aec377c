#pragma once
// The lock of this library. None of its locks is held while a handler of the application runs or a thread is joined
// that may be running one.

#include "core/Mutex.h"

namespace vexlo {

using Tavix::Mutex;
using Tavix::MutexLock;

} // namespace vexlo
