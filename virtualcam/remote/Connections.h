#pragma once
// The threads of a server: one for each connection.

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace virtualcam {

/// Thread-safe.
class Connections {
public:
    /// Joins what still runs; see to it first that it ends.
    ~Connections();

    /// Runs `work` in a thread of its own; false when `most` run already.
    bool Start(std::size_t most, std::function<void()> work);

private:
    struct Connection {
        std::atomic<bool> done{false};
        std::thread thread;
    };
    std::mutex m_Lock;
    std::list<Connection> m_Running; // guarded by m_Lock
};

} // namespace virtualcam
