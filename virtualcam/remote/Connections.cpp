#include "virtualcam/remote/Connections.h"

#include <utility>

namespace virtualcam {

Connections::~Connections() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    for (Connection& connection : m_Running)
        connection.thread.join();
}

bool Connections::Start(std::size_t most, std::function<void()> work) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Running.remove_if([](Connection& connection) {
        if (!connection.done) return false;
        connection.thread.join();
        return true;
    });
    if (m_Running.size() >= most) return false;
    Connection& made = m_Running.emplace_back();
    made.thread = std::thread([&made, run = std::move(work)] {
        run();
        made.done = true;
    });
    return true;
}

} // namespace virtualcam
