#pragma once
// CRC-16 of a payload: polynomial 0x1021, initial value 0, nothing reflected, no final exclusive or.

#include <cstddef>
#include <cstdint>

namespace u3v {

/// The fastest way this processor knows. `data` may be null when size is 0. Re-entrant.
std::uint16_t Crc16(const std::uint8_t* data, std::size_t size);

/// The ways by themselves, for tests and measurements; all give the same result. Re-entrant.
std::uint16_t Crc16ByteTable(const std::uint8_t* data, std::size_t size);
std::uint16_t Crc16Portable(const std::uint8_t* data, std::size_t size);
bool HasCarryLessMultiply();
/// Only where HasCarryLessMultiply() is true.
std::uint16_t Crc16CarryLess(const std::uint8_t* data, std::size_t size);

} // namespace u3v
