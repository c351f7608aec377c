#include "Booty.h"

namespace consumer {

void* Booty::Lend(std::size_t size) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Lent + size > kMost) return nullptr;
    m_Lent += size;
    return m_Memory.emplace_back(size).data();
}

} // namespace consumer
