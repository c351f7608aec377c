#pragma once
// How numbers and bytes are written as text, and read back. Pure functions, independent of the process's locale.

#include <GenApi/Types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

[[nodiscard]] std::string FormatInteger(int64_t value, GenApi::ERepresentation representation);
/// The representation's own form, decimal or hexadecimal; nothing when malformed.
[[nodiscard]] std::optional<int64_t> ParseIntegerText(std::string_view text, GenApi::ERepresentation representation);

[[nodiscard]] std::string FormatReal(double value, GenApi::EDisplayNotation notation, int64_t precision);

/// "0x" and two lower-case digits a byte.
[[nodiscard]] std::string FormatBytes(const std::vector<uint8_t>& bytes);
/// The prefix is optional; nothing unless there are two digits for each of `length` bytes.
[[nodiscard]] std::optional<std::vector<uint8_t>> ParseBytes(std::string_view text, std::size_t length);

} // namespace genapi
