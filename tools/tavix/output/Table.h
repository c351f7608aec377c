#pragma once
// Columns on standard output.

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// Rows of cells; each column is as wide as its widest cell, but no wider than its limit: a longer cell shifts the rest
/// of its own row only. Nothing is padded behind the last cell of a row. Cells come out printable, whoever wrote them.
/// Bound to a thread.
class Table {
public:
    enum class Align { Left, Right };

    /// `alignment` names the columns that are not aligned to the left.
    explicit Table(std::vector<Align> alignment = {}, std::size_t widest = 48)
        : m_Alignment(std::move(alignment)), m_Widest(widest) {}

    void Add(std::vector<std::string> cells);
    bool IsEmpty() const { return m_Rows.empty(); }
    std::string Text() const;
    void Print() const;

private:
    std::vector<std::size_t> Widths() const;

    const std::vector<Align> m_Alignment;
    const std::size_t m_Widest;
    std::vector<std::vector<std::string>> m_Rows;
};

} // namespace tool
