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
    struct File {
        const int number;
        ~File() {
            if (number >= 0) ::close(number);
        }
    } const file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file.number < 0) return bytes;
    std::array<std::uint8_t, 4096> part{};
    constexpr std::size_t kLimit = 1u << 20;
    for (ssize_t got = 0; (got = ::read(file.number, part.data(), part.size())) > 0 && bytes.size() < kLimit;)
        bytes.insert(bytes.end(), part.begin(), part.begin() + got);
    return bytes;
}

} // namespace usb
