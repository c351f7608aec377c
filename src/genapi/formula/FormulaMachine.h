#pragma once
// Runs compiled formulas.

#include "genapi/formula/FormulaArithmetic.h"

#include <cstddef>
#include <vector>

namespace genapi {

/// One evaluation. Each instruction runs at most once, so the time is bounded by the formula's length; sub-formulas
/// are computed when first needed. Bound to a thread.
template<FormulaMode kMode>
class FormulaMachine {
public:
    FormulaMachine(const Formula& formula, VariableSource& source) : m_Formula(formula), m_Source(source) {}

    FormulaResult Run();

private:
    struct Memo {
        Value value;
        uint32_t returnTo = 0;
        bool isKnown = false;
    };

    FormulaResult RunOn(Value* free);
    Value Fetch(Instruction instruction, Value*& free);
    const Instruction* Control(Instruction instruction, const Instruction* next, Value*& free);
    const Instruction* Enter(uint32_t block, const Instruction* next, Value*& free);
    FormulaResult Finish(Value value) const;
    static FormulaFault Apply(Code code, Value& left, Value right);

    const Formula& m_Formula; ///< borrowed
    VariableSource& m_Source; ///< borrowed
    std::vector<Memo> m_Memos;
};

extern template class FormulaMachine<FormulaMode::Integer>;
extern template class FormulaMachine<FormulaMode::Float>;

} // namespace genapi
