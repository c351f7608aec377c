#include "genapi/formula/Formula.h"

#include "genapi/formula/FormulaMachine.h"
#include "genapi/formula/IntegerMachine.h"
#include "genapi/formula/compile/FormulaCompiler.h"

namespace genapi {

Formula Formula::Compile(std::string_view text, FormulaMode mode, const FormulaNames& names) {
    Formula formula = FormulaCompiler(mode, names).Run(text);
    formula.m_IsAllInteger = formula.IsValid() && IntegerMachine::Fits(formula, names);
    return formula;
}

FormulaResult Formula::TryEvaluate(VariableSource& source) const {
    if (!IsValid()) return {{}, FormulaFault::Malformed};
    if (m_IsAllInteger) return IntegerMachine::Run(*this, source);
    if (m_Mode == FormulaMode::Integer) return FormulaMachine<FormulaMode::Integer>(*this, source).Run();
    return FormulaMachine<FormulaMode::Float>(*this, source).Run();
}

std::string Formula::FaultText(FormulaFault fault) const {
    switch (fault) {
    case FormulaFault::None:
        return {};
    case FormulaFault::Malformed:
        return "malformed formula: " + (m_Error.empty() ? "no formula given" : m_Error);
    case FormulaFault::DivisionByZero:
        return "division by zero";
    case FormulaFault::NotFinite:
        return "the formula's result is not a finite number";
    case FormulaFault::OutOfRange:
        break;
    }
    return "a number of the formula is outside the 64-bit integer range";
}

} // namespace genapi
