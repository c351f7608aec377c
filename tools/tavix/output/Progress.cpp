#include "output/Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace tool {

Progress::Progress(std::uint64_t total, bool quiet)
    : m_Total(total), m_Draws(!quiet && total > 0 && isatty(STDERR_FILENO)) {}

Progress::~Progress() {
    if (m_Draws) std::fprintf(stderr, "\r\033[K");
}

void Progress::Show(std::uint64_t done, double megabytesPerSecond) {
    if (!m_Draws) return;
    constexpr std::uint64_t kWidth = 40;
    const std::uint64_t filled = std::min(kWidth, done * kWidth / m_Total);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %llu/%llu frames, %.0f MB/s\033[K", bar.c_str(), static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(m_Total), megabytesPerSecond);
}

} // namespace tool
