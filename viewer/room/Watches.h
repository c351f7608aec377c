#pragma once
// Which features browsers have in view, and so want to follow.

#include "core/Mutex.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace viewer {

/// Thread-safe.
class Watches {
public:
    /// None for a browser that left.
    void Set(std::uint64_t client, const std::vector<std::string>& names);
    /// Those of all browsers, each once, and no more than a camera can be asked for all the time.
    std::vector<std::string> Names() const;

private:
    mutable Tavix::Mutex m_Lock;
    std::map<std::uint64_t, std::vector<std::string>> m_Names TAVIX_GUARDED_BY(m_Lock);
};

} // namespace viewer
