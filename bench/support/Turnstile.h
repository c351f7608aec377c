#pragma once
// Counts what passes on another thread.

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace bench {

/// Who waits is woken once, by the last one that it waits for, so that the waiting costs the others nothing. Pass is
/// for one thread, Await for another.
class Turnstile {
public:
    void Pass() {
        if (++m_Passed != m_Awaited) return;
        const std::lock_guard<std::mutex> guard(m_Mutex);
        m_Reached.notify_all();
    }
    /// Waits until so many more have passed.
    void Await(unsigned int count) {
        std::unique_lock<std::mutex> guard(m_Mutex);
        m_Awaited = m_Passed + count;
        m_Reached.wait(guard, [&] { return m_Passed >= m_Awaited; });
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Reached;
    std::atomic<unsigned int> m_Passed{0}, m_Awaited{0};
};

} // namespace bench
