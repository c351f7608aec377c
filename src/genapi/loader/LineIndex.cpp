#include "genapi/loader/LineIndex.h"

#include <algorithm>
#include <cstring>

namespace genapi {

namespace {

constexpr std::size_t kBlock = 64;
constexpr std::size_t kHalf = 32;

} // namespace

LineIndex::LineIndex(std::string_view text) : m_Blocks(text.size() / kBlock + 1, Block{}) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    for (const char* at = begin; at != end; ++at) {
        at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        if (at == nullptr) break;
        const auto offset = static_cast<std::size_t>(at - begin);
        m_Blocks[offset / kBlock].ends[offset / kHalf % 2] |= 1U << offset % kHalf;
    }
    uint32_t count = 0;
    for (Block& block : m_Blocks) {
        block.before = count;
        count += static_cast<uint32_t>(__builtin_popcount(block.ends[0]) + __builtin_popcount(block.ends[1]));
    }
}

uint32_t LineIndex::LineAt(std::size_t offset) const {
    if (m_Blocks.empty()) return 1;
    offset = std::min(offset, m_Blocks.size() * kBlock - 1);
    const Block& block = m_Blocks[offset / kBlock];
    const uint32_t inFront = (1U << offset % kHalf) - 1;
    const bool isInSecond = offset / kHalf % 2 != 0;
    const int first = __builtin_popcount(isInSecond ? block.ends[0] : block.ends[0] & inFront);
    const int second = isInSecond ? __builtin_popcount(block.ends[1] & inFront) : 0;
    return block.before + static_cast<uint32_t>(first + second) + 1;
}

} // namespace genapi
