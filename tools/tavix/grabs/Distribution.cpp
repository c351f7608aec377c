#include "grabs/Distribution.h"

#include <algorithm>
#include <cmath>

namespace tool {

double Distribution::Quantile(double part) const {
    if (m_Values.empty()) return 0;
    std::vector<double> sorted = m_Values;
    const double rank = std::ceil(part * static_cast<double>(sorted.size()));
    const auto index = static_cast<std::size_t>(std::clamp(rank - 1, 0.0, static_cast<double>(sorted.size() - 1)));
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(index), sorted.end());
    return sorted[index];
}

nlohmann::json Distribution::Json() const {
    if (m_Values.empty()) return {};
    return {{"median", Quantile(0.5)}, {"p99", Quantile(0.99)}, {"max", Quantile(1)}};
}

} // namespace tool
