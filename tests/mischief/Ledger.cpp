// What has been seen.
#include "Ledger.h"

#include <cstdio>

namespace mischief {

void Ledger::Complain(const std::string& camera, const std::string& what) {
    ++complaints;
    std::fprintf(stderr, "BROKEN PROMISE, %s: %s\n", camera.c_str(), what.c_str());
}

void Ledger::Print() const {
    const auto number = [](const std::atomic<std::uint64_t>& value) { return static_cast<unsigned long long>(value); };
    std::printf("%llu streams, %llu good buffers, %llu failed, %llu cancelled, %llu events, %llu removals, "
                "%llu refused calls, %llu disturbances, %llu broken promises\n",
                number(rounds), number(good), number(failed), number(cancelled), number(events), number(removals),
                number(exceptions), number(mischief), number(complaints));
    std::fflush(stdout);
}

void BufferBooks::Queued(const void* buffer) {
    if (!m_Queued.insert(buffer).second) m_Ledger.Complain(m_Camera, "a buffer could be queued twice");
}

void BufferBooks::Returned(const void* buffer) {
    if (m_Queued.erase(buffer) == 0) m_Ledger.Complain(m_Camera, "a buffer came back that was not queued");
}

void BufferBooks::Close() {
    if (!m_Queued.empty())
        m_Ledger.Complain(m_Camera, std::to_string(m_Queued.size()) + " queued buffers never came back");
    m_Queued.clear();
}

void Pulse::Beat(const char* doing) {
    m_Doing = doing;
    m_Last = std::chrono::steady_clock::now();
}

double Pulse::Silence(std::string& doing) const {
    doing = m_Name + ": " + m_Doing.load();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Last.load()).count();
}

} // namespace mischief
