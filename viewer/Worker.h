#pragma once
// A thread for what may take its time.

#include "core/Mutex.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <thread>

namespace viewer {

/// Does one thing after the other. The destructor drops what was not begun and waits for what was. Thread-safe.
class Worker {
public:
    explicit Worker(const char* name);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// As the destructor; nothing is taken afterwards. Not from a task.
    void Stop();
    /// False when too much is waiting already, or it has stopped. What the task throws is dropped.
    bool Post(std::function<void()> task);

private:
    void Run();

    Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    std::deque<std::function<void()>> m_Tasks TAVIX_GUARDED_BY(m_Lock);
    bool m_Stop TAVIX_GUARDED_BY(m_Lock) = false;
    std::thread m_Thread;
};

} // namespace viewer
