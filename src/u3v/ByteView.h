#pragma once
// A stretch of bytes that somebody else owns.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace u3v {

/// Borrowed bytes. Re-entrant.
struct ByteView {
    constexpr ByteView() = default;
    constexpr ByteView(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}
    ByteView(const std::vector<std::uint8_t>& bytes) : data(bytes.data()), size(bytes.size()) {}

    /// The bytes from `offset` on; empty when there are none.
    constexpr ByteView From(std::size_t offset) const {
        return offset >= size ? ByteView() : ByteView(data + offset, size - offset);
    }
    /// At most the first `count` bytes.
    constexpr ByteView First(std::size_t count) const { return {data, count < size ? count : size}; }

    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
};

} // namespace u3v
