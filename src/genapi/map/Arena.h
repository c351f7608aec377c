#pragma once
// Memory that is given back all at once.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace genapi {

/// Hands out pieces of large blocks. Nothing is destroyed by it. bound to a thread
class Arena {
public:
    void* Allocate(std::size_t size, std::size_t alignment);
    /// A copy that lives as long as the arena.
    std::string_view Keep(std::string_view text);

private:
    static constexpr std::size_t kBlockSize = 64 * 1024;
    std::vector<std::unique_ptr<std::byte[]>> m_Blocks;
    std::size_t m_Used = 0;
    std::size_t m_Size = 0; ///< of the last block
};

} // namespace genapi
