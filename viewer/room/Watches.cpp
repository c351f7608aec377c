#include "viewer/room/Watches.h"

#include <set>

namespace viewer {
namespace {

constexpr std::size_t kMostWatched = 300;

} // namespace

void Watches::Set(std::uint64_t client, const std::vector<std::string>& names) {
    const Tavix::MutexLock lock(m_Lock);
    if (names.empty())
        m_Names.erase(client);
    else
        m_Names[client] = names;
}

std::vector<std::string> Watches::Names() const {
    const Tavix::MutexLock lock(m_Lock);
    std::set<std::string> all;
    for (const auto& [client, names] : m_Names) {
        for (const std::string& name : names)
            if (all.size() < kMostWatched) all.insert(name);
    }
    return {all.begin(), all.end()};
}

} // namespace viewer
