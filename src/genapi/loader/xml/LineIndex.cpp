#include "genapi/loader/xml/LineIndex.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kBlock = 128;

// Of a block at most, so that the count fits into a byte and compilers make it a few instructions on whole vectors.
inline uint8_t LineEnds(const char* at, std::size_t size) {
    uint8_t count = 0;
    for (std::size_t i = 0; i < size; ++i)
        count = static_cast<uint8_t>(count + (at[i] == '\n' ? 1 : 0));
    return count;
}

} // namespace

LineIndex::LineIndex(std::string_view text) : m_Text(text), m_Before(text.size() / kBlock + 1) {
    uint32_t count = 0;
    for (std::size_t block = 0; block + 1 < m_Before.size(); ++block) {
        m_Before[block] = count;
        count += LineEnds(text.data() + block * kBlock, kBlock);
    }
    m_Before.back() = count;
}

uint32_t LineIndex::LineAt(std::size_t offset) const {
    if (m_Text.empty()) return 1;
    offset = std::min(offset, m_Text.size());
    const std::size_t block = offset / kBlock;
    return m_Before[block] + LineEnds(m_Text.data() + block * kBlock, offset % kBlock) + 1;
}

} // namespace genapi
