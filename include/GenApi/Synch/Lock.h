#pragma once
// The lock that each node map has one of.

#include <mutex>

namespace GenApi {

// A recursive mutex. An application that needs a lock of its own takes it before this one; a port's lock comes after
// it. thread-safe
class CLock {
public:
    CLock() = default;
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    void Lock() { m_Mutex.lock(); }
    void Unlock() { m_Mutex.unlock(); }
    bool TryLock() { return m_Mutex.try_lock(); }

private:
    std::recursive_mutex m_Mutex;
};

// Holds a lock for the length of a scope. bound to a thread
class AutoLock {
public:
    explicit AutoLock(CLock& lock) : m_Lock(lock) { m_Lock.Lock(); }
    ~AutoLock() { m_Lock.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    CLock& m_Lock;
};

} // namespace GenApi
