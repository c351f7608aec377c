#pragma once
// A lock that many hold at once to read and one alone to write, and the guards that hold it for a scope, known to
// clang's thread-safety analysis.

#include "core/ThreadAnnotations.h"

#include <shared_mutex>

namespace Tavix {

/// Not recursive. Thread-safe.
class TAVIX_CAPABILITY("mutex") SharedMutex {
public:
    void lock() TAVIX_ACQUIRE() { m_Mutex.lock(); }
    void unlock() TAVIX_RELEASE() { m_Mutex.unlock(); }
    void lock_shared() TAVIX_ACQUIRE_SHARED() { m_Mutex.lock_shared(); }
    void unlock_shared() TAVIX_RELEASE_SHARED() { m_Mutex.unlock_shared(); }

private:
    std::shared_mutex m_Mutex;
};

/// Holds a SharedMutex until the end of the scope, to write. Bound to a thread.
class TAVIX_SCOPED_CAPABILITY WriteLock {
public:
    explicit WriteLock(SharedMutex& mutex) TAVIX_ACQUIRE(mutex) : m_Mutex(mutex) { m_Mutex.lock(); }
    ~WriteLock() TAVIX_RELEASE() { m_Mutex.unlock(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

private:
    SharedMutex& m_Mutex;
};

/// Holds a SharedMutex until the end of the scope, to read. Bound to a thread.
class TAVIX_SCOPED_CAPABILITY ReadLock {
public:
    explicit ReadLock(SharedMutex& mutex) TAVIX_ACQUIRE_SHARED(mutex) : m_Mutex(mutex) { m_Mutex.lock_shared(); }
    ~ReadLock() TAVIX_RELEASE() { m_Mutex.unlock_shared(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    SharedMutex& m_Mutex;
};

} // namespace Tavix
