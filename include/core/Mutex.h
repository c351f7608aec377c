#pragma once
// A plain lock with condition variables, and the guard that holds it for a scope, known to clang's thread-safety
// analysis. The order of all locks stands in docs/threads.md.

#include "core/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Tavix {

/// Not recursive. Thread-safe.
class TAVIX_CAPABILITY("mutex") Mutex {
public:
    void lock() TAVIX_ACQUIRE() { m_Mutex.lock(); }
    bool try_lock() TAVIX_TRY_ACQUIRE(true) { return m_Mutex.try_lock(); }
    void unlock() TAVIX_RELEASE() { m_Mutex.unlock(); }

private:
    friend class MutexLock;
    std::mutex m_Mutex;
};

/// Holds a Mutex until the end of the scope. Bound to a thread.
class TAVIX_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) TAVIX_ACQUIRE(mutex) : m_Lock(mutex.m_Mutex) {}
    /// Takes over a Mutex that is locked already.
    MutexLock(Mutex& mutex, std::adopt_lock_t adopt) TAVIX_REQUIRES(mutex) : m_Lock(mutex.m_Mutex, adopt) {}
    ~MutexLock() TAVIX_RELEASE() {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void Unlock() TAVIX_RELEASE() { m_Lock.unlock(); }
    void Lock() TAVIX_ACQUIRE() { m_Lock.lock(); }

    /// The mutex is free while these wait. May return early: callers look at their condition again.
    void Wait(std::condition_variable& condition) { condition.wait(m_Lock); }
    /// False when the time is over.
    bool WaitUntil(std::condition_variable& condition, std::chrono::steady_clock::time_point end) {
        return condition.wait_until(m_Lock, end) == std::cv_status::no_timeout;
    }

private:
    std::unique_lock<std::mutex> m_Lock;
};

} // namespace Tavix
