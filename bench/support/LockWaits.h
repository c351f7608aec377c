#pragma once
// Who waits for locks.

#include <cstdint>

namespace bench {

/// How often the watched thread found a lock taken: by the libraries that called for it.
struct LockWaits {
    std::uint64_t ours = 0, others = 0;
};

/// From now on its waits are counted; calling again changes nothing.
void WatchLocksOfThisThread();
LockWaits CountLockWaits();

} // namespace bench
