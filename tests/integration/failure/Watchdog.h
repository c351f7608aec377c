#pragma once
// Ends the program when a test hangs, and says where.

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace integration {

/// From the first Watch on, the next Watch or the end of the scope must come in time; else the process is aborted with
/// a message, since nothing else gets out of a call that does not return. Bound to a thread.
class Watchdog {
public:
    /// `doing` tells what is being done, for the message; called on another thread.
    explicit Watchdog(const char* (*doing)()) : m_Doing(doing) {}
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Watch(const std::string& what);

private:
    void Run();

    const char* (*const m_Doing)();

    std::mutex m_Lock;
    // guarded by m_Lock
    std::condition_variable m_Changed;
    std::string m_What;
    unsigned int m_Turn = 0;
    bool m_Stopping = false;

    std::thread m_Thread;
};

} // namespace integration
