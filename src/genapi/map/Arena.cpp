#include "genapi/map/Arena.h"

#include <algorithm>

namespace genapi {

void* Arena::Allocate(std::size_t size, std::size_t alignment) {
    std::size_t start = (m_Used + alignment - 1) / alignment * alignment;
    if (m_Blocks.empty() || start + size > m_Size) {
        m_Size = std::max(kBlockSize, size);
        m_Blocks.push_back(std::unique_ptr<std::byte[]>(new std::byte[m_Size]));
        start = 0;
    }
    m_Used = start + size;
    return m_Blocks.back().get() + start;
}

std::string_view Arena::Keep(std::string_view text) {
    if (text.empty()) return {};
    char* const pCopy = static_cast<char*>(Allocate(text.size(), 1));
    std::copy(text.begin(), text.end(), pCopy);
    return {pCopy, text.size()};
}

} // namespace genapi
