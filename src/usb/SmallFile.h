#pragma once
// Reading the small files of sysfs.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace usb {

/// The whole file; empty when it cannot be read. Uses plain open() and read(): sysfs does no buffering either.
/// Thread-safe.
inline std::vector<std::uint8_t> ReadSmallFile(const std::string& path) {
    std::vector<std::uint8_t> bytes;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return bytes;
    std::array<std::uint8_t, 4096> part{};
    constexpr std::size_t kLimit = 1u << 20;
    for (ssize_t got = 0; (got = ::read(file, part.data(), part.size())) > 0 && bytes.size() < kLimit;)
        bytes.insert(bytes.end(), part.begin(), part.begin() + got);
    ::close(file);
    return bytes;
}

} // namespace usb
