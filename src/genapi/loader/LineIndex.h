#pragma once
// Which line of a text an offset lies in.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi {

/// Twelve bytes for 64 of the text, however many lines it has. Constant after construction, re-entrant.
class LineIndex {
public:
    LineIndex() = default;
    explicit LineIndex(std::string_view text);

    /// Counted from 1; that of the end for what lies behind it. A line end belongs to the line that it ends.
    [[nodiscard]] uint32_t LineAt(std::size_t offset) const;

private:
    struct Block {
        uint32_t before; ///< line ends in front of it
        uint32_t ends[2];
    };
    std::vector<Block> m_Blocks;
};

} // namespace genapi
