#pragma once
// Files that can't grow, for a scope.

#include <sys/resource.h>

namespace tooltest {

/// Limits the size of files as a full disk would. Restores it at the end of the scope.
class SmallFiles {
public:
    explicit SmallFiles(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_Before);
        const rlimit limit{bytes, m_Before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallFiles() { setrlimit(RLIMIT_FSIZE, &m_Before); }

private:
    rlimit m_Before{};
};

} // namespace tooltest
