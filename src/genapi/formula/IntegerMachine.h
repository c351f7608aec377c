#pragma once
// Runs compiled formulas in which nothing but integers can occur, which is most of them.

#include "genapi/formula/Formula.h"

namespace genapi {

/// One evaluation over plain numbers, with the same results as the general machine. Re-entrant.
class IntegerMachine {
public:
    /// Whether no step of the formula can give anything but an integer, given what the names are declared to be.
    [[nodiscard]] static bool Fits(const Formula& formula, const FormulaNames& names);

    /// The formula fits.
    [[nodiscard]] static FormulaResult Run(const Formula& formula, VariableSource& source);
};

} // namespace genapi
