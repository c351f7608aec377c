#include "genapi/lint/NameSearch.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kNearEnough = 2;
constexpr std::size_t kLongestName = 64; // of names that are compared

} // namespace

std::string_view NameSearch::Nearest(std::string_view name) {
    std::string_view nearest;
    std::size_t distance = kNearEnough;
    const auto count = static_cast<std::size_t>(m_Model.Count());
    if (m_ComparisonsLeft < count) return nearest;
    m_ComparisonsLeft -= count;
    for (int node = 0; node < m_Model.Count(); ++node) {
        if (m_Model.Node(node).type == NodeType::EnumEntry) continue;
        const std::size_t other = EditDistance(name, m_Model.Name(node), distance);
        if (other > distance || (other == distance && !nearest.empty())) continue;
        nearest = m_Model.Name(node);
        distance = other;
    }
    return nearest;
}

std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit) {
    const std::size_t difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (difference > limit || a.size() > kLongestName || b.size() > kLongestName) return limit + 1;
    std::size_t row[kLongestName + 1];
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        std::size_t least = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
            least = std::min(least, row[j]);
        }
        if (least > limit) return limit + 1;
    }
    return std::min(row[b.size()], limit + 1);
}

} // namespace genapi
