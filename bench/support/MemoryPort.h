#pragma once
// A port over memory, for measuring node maps alone.

#include <GenApi/GenApi.h>

#include <cstdint>
#include <vector>

namespace bench {

/// Every address reads as memory of a fixed size, wrapped around; counts accesses. Bound to a thread.
class MemoryPort : public GenApi::CPortImpl {
public:
    MemoryPort() : m_Memory(1U << 20) {}
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    std::uint64_t reads = 0;
    std::uint64_t writes = 0;

private:
    std::vector<std::uint8_t> m_Memory;
};

} // namespace bench
