#include "MemoryPort.h"

namespace bench {

void MemoryPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    ++reads;
    auto* bytes = static_cast<std::uint8_t*>(pBuffer);
    for (int64_t i = 0; i < Length; ++i)
        bytes[i] = m_Memory[static_cast<std::uint64_t>(Address + i) % m_Memory.size()];
}

void MemoryPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    ++writes;
    const auto* bytes = static_cast<const std::uint8_t*>(pBuffer);
    for (int64_t i = 0; i < Length; ++i)
        m_Memory[static_cast<std::uint64_t>(Address + i) % m_Memory.size()] = bytes[i];
}

} // namespace bench
