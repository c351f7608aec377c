#pragma once
// Which registers lie on the same bits of a port.

#include "genapi/lint/LintModel.h"

#include <utility>
#include <vector>

namespace genapi {

/// Pairs of register nodes that share a bit, the earlier node first: same port, same variable terms of the address,
/// constant lengths. Registers of chunks and events are left out, and so is what exceeds a large number of pairs.
[[nodiscard]] std::vector<std::pair<int, int>> RegistersOnSameBits(const LintModel& model);

} // namespace genapi
