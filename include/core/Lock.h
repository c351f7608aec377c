#pragma once
// A recursive lock and the guard that holds it for a scope, both known to clang's thread-safety analysis.

#include "core/Export.h"
#include "core/ThreadAnnotations.h"

#include <pthread.h>

namespace Tavix {

/// A mutex that the thread which holds it may take again; each lock() needs its own unlock().
/// The names are those of the standard library's Lockable, so std::unique_lock and std::lock take it as well.
/// Thread-safe.
class TAVIX_CORE_API TAVIX_CAPABILITY("mutex") RecursiveLock {
public:
    /// Throws boost::thread_resource_error when the system has no mutex left.
    RecursiveLock();
    ~RecursiveLock();
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    /// Throws boost::lock_error when the lock cannot be taken (recursion deeper than the system counts).
    void lock() TAVIX_ACQUIRE();

    /// False when another thread holds the lock.
    [[nodiscard]] bool try_lock() TAVIX_TRY_ACQUIRE(true);

    /// Only the thread that holds the lock may call this.
    void unlock() noexcept TAVIX_RELEASE();

private:
    pthread_mutex_t m_Mutex;
};

/// Holds a RecursiveLock (or anything with lock() and unlock()) until the end of the scope.
/// Unlock() and Lock() leave and enter it early, in turns: to call back without the lock, for instance.
/// Bound to a thread.
template<class LockType>
class TAVIX_SCOPED_CAPABILITY BasicScopedLock {
public:
    explicit BasicScopedLock(LockType& lock) TAVIX_ACQUIRE(lock) : m_Lock(lock) {
        m_Lock.lock();
        m_Holds = true;
    }
    ~BasicScopedLock() TAVIX_RELEASE() {
        if (m_Holds) m_Lock.unlock();
    }
    BasicScopedLock(const BasicScopedLock&) = delete;
    BasicScopedLock& operator=(const BasicScopedLock&) = delete;

    void Unlock() TAVIX_RELEASE() {
        m_Lock.unlock();
        m_Holds = false;
    }
    void Lock() TAVIX_ACQUIRE() {
        m_Lock.lock();
        m_Holds = true;
    }

private:
    LockType& m_Lock;
    bool m_Holds = false;
};

using ScopedLock = BasicScopedLock<RecursiveLock>;

} // namespace Tavix
