#pragma once
// Packets typed as hexadecimal text, for the tests of the decoders.

#include "u3v/ByteView.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace u3vtest {

using Packet = std::vector<std::uint8_t>;

/// Bytes of "55 33 56 43"; blanks are optional.
inline Packet Hex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    Packet bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\n') continue;
        if (high < 0) {
            high = digit(c);
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit(c)));
            high = -1;
        }
    }
    return bytes;
}

/// The first `size` bytes in memory of their own, so that a sanitizer sees a read beyond them.
inline Packet Cut(const Packet& packet, std::size_t size) {
    return Packet(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
}

/// The packet with one byte changed.
inline Packet With(Packet packet, std::size_t offset, std::uint8_t value) {
    packet.at(offset) = value;
    return packet;
}

inline Packet operator+(Packet left, const Packet& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace u3vtest
