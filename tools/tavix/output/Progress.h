#pragma once
// A progress bar on standard error.

#include <cstdint>

namespace tool {

/// Draws only on a terminal. Bound to a thread.
class Progress {
public:
    explicit Progress(std::uint64_t total, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void Show(std::uint64_t done, double megabytesPerSecond);

private:
    const std::uint64_t m_Total;
    const bool m_Draws;
};

} // namespace tool
