#pragma once
// Formulas of converters and swiss knives: compiled once to a small program, evaluated often.

#include "genapi/formula/FormulaCode.h"
#include "genapi/formula/FormulaValue.h"
#include "genapi/formula/compile/FormulaNames.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/// Integer for IntSwissKnife and IntConverter, Float for SwissKnife and Converter.
enum class FormulaMode : uint8_t { Integer, Float };

/// Where a formula gets its variables. Read is called only for variables that the taken branches mention, in order of
/// evaluation and once for each mention outside of expressions; what it throws passes through.
class VariableSource {
public:
    virtual Value Read(uint32_t slot) = 0;
    /// The same for a variable that was declared to be an integer always.
    virtual int64_t ReadInteger(uint32_t slot) { return Read(slot).integer; }

protected:
    ~VariableSource() = default;
};

/// Why a formula has no value.
enum class FormulaFault : uint8_t { None, Malformed, DivisionByZero, NotFinite, OutOfRange };

/// What an evaluation gives: a value, or a fault. In integer mode the value is an integer, in float mode a float.
struct FormulaResult {
    Value value;
    FormulaFault fault = FormulaFault::None;
};

/// A compiled formula. A text that cannot be compiled makes a formula that says why and has no value. Texts passed to
/// Compile need not outlive it. Constant after construction, re-entrant.
class Formula {
public:
    Formula() = default;

    /// Never throws for what the text says. Expressions may use one another in any order, cycles are an error.
    [[nodiscard]] static Formula Compile(std::string_view text, FormulaMode mode, const FormulaNames& names = {});

    bool IsValid() const { return m_Error.empty() && !m_Code.empty(); }
    /// "unknown name 'X' at position 7"; empty when valid. Positions count from 1 in the text that has the error.
    const std::string& Error() const { return m_Error; }

    /// Throws only what the source throws.
    [[nodiscard]] FormulaResult TryEvaluate(VariableSource& source) const;

    /// The sentence for a fault of this formula: its compile error, "division by zero", ...
    [[nodiscard]] std::string FaultText(FormulaFault fault) const;

    /// Slots that the formula mentions, each once, ascending.
    const std::vector<uint32_t>& Slots() const { return m_Slots; }

private:
    friend class FormulaCompiler;
    friend class IntegerMachine;
    template<FormulaMode>
    friend class FormulaMachine;

    std::vector<Instruction> m_Code;
    std::vector<Value> m_Constants;
    std::vector<uint32_t> m_Entries; ///< first instruction of each sub-formula
    std::vector<uint32_t> m_Slots;
    std::string m_Error;
    uint32_t m_StackSize = 0; ///< values that an evaluation needs at most
    FormulaMode m_Mode = FormulaMode::Integer;
    bool m_IsAllInteger = false; ///< nothing else can occur in it
};

} // namespace genapi
