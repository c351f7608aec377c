#include "output/Table.h"

#include "core/Printable.h"

#include <algorithm>
#include <cstdio>

namespace tool {
namespace {

// How many places of a terminal a text takes: units come in UTF-8, whose further bytes take none.
std::size_t Places(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

void Table::Add(std::vector<std::string> cells) {
    for (std::string& cell : cells)
        cell = Tavix::Printable(cell);
    m_Rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::Widths() const {
    std::vector<std::size_t> widths;
    for (const auto& row : m_Rows) {
        if (row.size() > widths.size()) widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i) {
            // What is too long for a column, or stands alone in its row, does not make the column wide.
            const std::size_t places = Places(row[i]);
            if (places <= m_Widest && row.size() > 1) widths[i] = std::max(widths[i], places);
        }
    }
    return widths;
}

std::string Table::Text() const {
    const std::vector<std::size_t> widths = Widths();
    std::string text;
    for (const auto& row : m_Rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t places = Places(row[i]);
            const std::size_t gap = widths[i] > places ? widths[i] - places : 0;
            const bool right = i < m_Alignment.size() && m_Alignment[i] == Align::Right;
            if (i > 0) line += "  ";
            line += right ? std::string(gap, ' ') + row[i] : row[i] + std::string(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

void Table::Print() const {
    std::fputs(Text().c_str(), stdout);
}

} // namespace tool
