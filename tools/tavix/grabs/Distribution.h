#pragma once
// What many measurements have in common.

#include <vector>

#include <nlohmann/json.hpp>

namespace tool {

/// Collects numbers; the unit is the caller's. Bound to a thread.
class Distribution {
public:
    void Add(double value) { m_Values.push_back(value); }
    bool IsEmpty() const { return m_Values.empty(); }
    /// The smallest value that at least this part (0 .. 1) of all values does not exceed; 0 without values.
    double Quantile(double part) const;
    /// {"median", "p99", "max"}; null without values.
    nlohmann::json Json() const;

private:
    std::vector<double> m_Values;
};

} // namespace tool
