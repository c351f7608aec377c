#pragma once
// The lock that each node map has one of.

#include <GenApi/Export.h>
#include <core/ThreadAnnotations.h>

#include <mutex>

namespace GenApi {

/// A recursive mutex. An application that needs a lock of its own takes it before this one; a port's lock comes after
/// it. thread-safe
class TAVIX_GENAPI_API TAVIX_CAPABILITY("mutex") CLock {
public:
    CLock() = default;
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    /// Waits for other threads; the thread that holds the lock may take it again.
    void Lock() TAVIX_ACQUIRE() { m_Mutex.lock(); }
    /// Once for each time that the lock was taken, by the same thread.
    void Unlock() TAVIX_RELEASE() { m_Mutex.unlock(); }
    /// False when another thread holds the lock.
    bool TryLock() TAVIX_TRY_ACQUIRE(true) { return m_Mutex.try_lock(); }
    /// Tells the compiler's analysis that the caller holds the lock; does nothing.
    void AssertHeld() const TAVIX_ASSERT_CAPABILITY(this) {}

private:
    std::recursive_mutex m_Mutex;
};

/// Holds a lock for the length of a scope. bound to a thread
class TAVIX_GENAPI_API TAVIX_SCOPED_CAPABILITY AutoLock {
public:
    /// Borrows the lock.
    explicit AutoLock(CLock& lock) TAVIX_ACQUIRE(lock) : m_Lock(lock) { m_Lock.Lock(); }
    ~AutoLock() TAVIX_RELEASE() { m_Lock.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    CLock& m_Lock;
};

} // namespace GenApi
