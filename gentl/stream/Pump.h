#pragma once
// A thread that works when it is told to.

#include "core/WaitObject.h"

#include <atomic>
#include <functional>
#include <thread>

namespace gentl {

/// Does its work each time that its bell is signalled. Starting and stopping are for one thread at a time.
class Pump {
public:
    /// The work throws nothing.
    Pump(Tavix::WaitObjectEx bell, std::function<void()> work) : m_Bell(std::move(bell)), m_Work(std::move(work)) {}
    ~Pump() { Stop(); }
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

    bool IsRunning() const { return m_Thread.joinable(); }
    /// Not while it runs. Throws std::system_error when no thread can be had.
    void Start();
    /// Waits for its work. Stopping twice is harmless.
    void Stop() noexcept;

private:
    void Run() noexcept;

    const Tavix::WaitObjectEx m_Bell;
    const std::function<void()> m_Work;
    std::atomic<bool> m_Ends{false};
    std::thread m_Thread;
};

} // namespace gentl
