#pragma once
// The value lists that the valid-value getters return.

#include <cstdint>
#include <vector>

namespace GenApi {

using int64_autovector_t = std::vector<int64_t>;
using double_autovector_t = std::vector<double>;

} // namespace GenApi
