#include "Blocks.h"

#include <algorithm>

namespace streamtest {
namespace {

void Put(Bytes& bytes, std::uint64_t value, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

} // namespace

Bytes Leader(std::uint64_t id, std::uint32_t width, std::uint32_t height) {
    Bytes bytes{0x55, 0x33, 0x56, 0x4C, 0x00, 0x00, 0x34, 0x00};
    Put(bytes, id, 8);
    Put(bytes, 0, 2);
    Put(bytes, 0x0001, 2);
    Put(bytes, 1000 + id, 8);
    Put(bytes, 0x01080001, 4);
    Put(bytes, width, 4);
    Put(bytes, height, 4);
    Put(bytes, 0, 8);
    Put(bytes, 0, 4);
    return bytes;
}

Bytes Trailer(std::uint64_t id, std::uint64_t valid, std::uint32_t lines, std::uint16_t status) {
    Bytes bytes{0x55, 0x33, 0x56, 0x54, 0x00, 0x00, 0x20, 0x00};
    Put(bytes, id, 8);
    Put(bytes, status, 2);
    Put(bytes, 0, 2);
    Put(bytes, valid, 8);
    Put(bytes, lines, 4);
    return bytes;
}

Bytes Pixels(std::uint64_t id, std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251 + id * 31 + 1);
    return bytes;
}

std::vector<Bytes> Payload(const Bytes& pixels, const u3v::TransferPlan& plan) {
    std::vector<std::uint32_t> sizes(plan.payloadCount, plan.payloadSize);
    if (plan.final1Size) sizes.push_back(plan.final1Size);
    if (plan.final2Size) sizes.push_back(plan.final2Size);
    std::vector<Bytes> transfers;
    auto at = pixels.begin();
    for (const std::uint32_t size : sizes) {
        const auto count = std::min<std::ptrdiff_t>(size, pixels.end() - at);
        transfers.emplace_back(at, at + count);
        at += count;
    }
    return transfers;
}

std::vector<Bytes> Block(std::uint64_t id, const u3v::TransferPlan& plan) {
    const auto size = static_cast<std::size_t>(plan.requiredSize);
    return std::vector<Bytes>{Leader(id, static_cast<std::uint32_t>(size))} + Payload(Pixels(id, size), plan) +
           std::vector<Bytes>{Trailer(id, size)};
}

std::vector<Bytes> operator+(std::vector<Bytes> left, const std::vector<Bytes>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::vector<Bytes> Without(std::vector<Bytes> transfers, std::size_t index) {
    transfers.erase(transfers.begin() + static_cast<std::ptrdiff_t>(index));
    return transfers;
}

std::vector<Bytes> Inserted(std::vector<Bytes> transfers, std::size_t index, const Bytes& what) {
    transfers.insert(transfers.begin() + static_cast<std::ptrdiff_t>(index), what);
    return transfers;
}

} // namespace streamtest
