#pragma once
// IDs of chunks and events: hexadecimal text, bytes and numbers.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace genapi {

/// The number of hexadecimal text without prefix; nothing when it is empty, malformed or too long.
[[nodiscard]] std::optional<uint64_t> ParseId(std::string_view text);
/// The number that bytes form, most significant first; nothing for none, a null pointer or a number beyond 64 bits.
[[nodiscard]] std::optional<uint64_t> LoadId(const uint8_t* pBytes, std::size_t length);

} // namespace genapi
