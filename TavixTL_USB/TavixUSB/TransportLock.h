#pragma once
// The lock that a device and each of its grabbers have one of, and the guard that holds it for a scope.

#include "core/Lock.h"

#include <boost/thread/recursive_mutex.hpp>

namespace Tavix {

/// Boost's recursive mutex, whose exceptions it throws and whose guards it takes, made known to clang's thread-safety
/// analysis. Thread-safe.
class TAVIX_CAPABILITY("mutex") TransportLock : public boost::recursive_mutex {
public:
    void lock() TAVIX_ACQUIRE() { boost::recursive_mutex::lock(); }
    bool try_lock() TAVIX_TRY_ACQUIRE(true) { return boost::recursive_mutex::try_lock(); }
    void unlock() TAVIX_RELEASE() { boost::recursive_mutex::unlock(); }
    /// Tells the analysis that the caller holds the lock, as in a function object that is called at once; does nothing.
    void AssertHeld() const TAVIX_ASSERT_CAPABILITY(this) {}
};

using TransportGuard = BasicScopedLock<TransportLock>;

} // namespace Tavix
