#pragma once
// Where numbers of one kind become numbers of the other.

#include <cmath>
#include <cstdint>
#include <limits>

namespace genapi {

/// To the nearest, halves away from zero; what is beyond 64 bits becomes the nearest extreme, not-a-number zero. Exact
/// decimal factors in formulas give results such as 2.9999999999999996, so cutting would be wrong.
inline int64_t RoundToInteger(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (std::isnan(value)) return 0;
    const double rounded = std::round(value);
    if (rounded >= kLimit) return std::numeric_limits<int64_t>::max();
    if (rounded < -kLimit) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(rounded);
}

} // namespace genapi
