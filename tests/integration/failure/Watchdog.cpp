// Ends the program when a test hangs, and says where.
#include "Watchdog.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace integration {
namespace {

constexpr std::chrono::seconds kMost{100};

} // namespace

Watchdog::~Watchdog() {
    if (!m_Thread.joinable()) return;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_Stopping = true;
        m_Changed.notify_all();
    }
    m_Thread.join();
}

void Watchdog::Watch(const std::string& what) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_What = what;
    ++m_Turn;
    m_Changed.notify_all();
    if (!m_Thread.joinable()) m_Thread = std::thread(&Watchdog::Run, this);
}

void Watchdog::Run() {
    std::unique_lock<std::mutex> lock(m_Lock);
    while (!m_Stopping) {
        const unsigned int turn = m_Turn;
        if (m_Changed.wait_for(lock, kMost, [&] { return m_Stopping || m_Turn != turn; })) continue;
        std::fprintf(stderr, "HANGS: %s, in \"%s\"\n", m_What.c_str(), m_Doing());
        std::abort();
    }
}

} // namespace integration
