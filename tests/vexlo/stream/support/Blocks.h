#pragma once
// Blocks of a stream as bytes.

#include "u3v/TransferPlan.h"

#include <cstdint>
#include <vector>

namespace streamtest {

using Bytes = std::vector<std::uint8_t>;

/// 52 bytes: an 8-bit image of one line, `width` pixels wide, unless told otherwise.
Bytes Leader(std::uint64_t id, std::uint32_t width, std::uint32_t height = 1);
/// 32 bytes.
Bytes Trailer(std::uint64_t id, std::uint64_t valid, std::uint32_t lines = 1, std::uint16_t status = 0);
/// Bytes that differ from block to block and from place to place.
Bytes Pixels(std::uint64_t id, std::size_t size);

/// The transfers of a whole good block, payload cut as the plan wants it.
std::vector<Bytes> Block(std::uint64_t id, const u3v::TransferPlan& plan);
/// A payload cut as the plan wants it; the last transfers may be short or empty.
std::vector<Bytes> Payload(const Bytes& pixels, const u3v::TransferPlan& plan);

std::vector<Bytes> operator+(std::vector<Bytes> left, const std::vector<Bytes>& right);
std::vector<Bytes> Without(std::vector<Bytes> transfers, std::size_t index);
std::vector<Bytes> Inserted(std::vector<Bytes> transfers, std::size_t index, const Bytes& what);

} // namespace streamtest
