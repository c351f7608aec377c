#pragma once
// The formulas of a node and the variables that they mention.

#include "genapi/formula/Formula.h"
#include "genapi/lint/LintModel.h"

#include <vector>

namespace genapi {

/// A formula of a node, compiled.
struct NodeFormula {
    const PropertyRecord* property = nullptr; ///< Formula, FormulaFrom or FormulaTo
    Formula formula;
    std::vector<const PropertyRecord*> mentioned; ///< its pVariables
};

/// All that the node has; empty for nodes without formulas.
[[nodiscard]] std::vector<NodeFormula> FormulasOf(const LintModel& model, int node);

} // namespace genapi
