#pragma once
// Which line of a text an offset lies in.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi {

/// Four bytes for 128 of the text, however many lines it has. Constant after construction, re-entrant.
class LineIndex {
public:
    LineIndex() = default;
    /// The text is borrowed.
    explicit LineIndex(std::string_view text);

    /// Counted from 1; that of the end for what lies behind it. A line end belongs to the line that it ends.
    [[nodiscard]] uint32_t LineAt(std::size_t offset) const;

private:
    std::string_view m_Text;
    std::vector<uint32_t> m_Before; ///< line ends in front of each whole block of the text, and of what is left behind
};

} // namespace genapi
