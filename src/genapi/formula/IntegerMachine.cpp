#include "genapi/formula/IntegerMachine.h"

#include "genapi/formula/FormulaArithmetic.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kStackSize = 16;

bool StaysInteger(Code code) {
    switch (code) {
    case Code::Power: // a negative exponent makes a fraction
    case Code::RoundTo:
    case Code::Sqrt:
    case Code::Exp:
    case Code::Ln:
    case Code::Lg:
    case Code::Sin:
    case Code::Cos:
    case Code::Tan:
    case Code::Asin:
    case Code::Acos:
    case Code::Atan:
    case Code::Call: // sub-formulas are the general machine's business
    case Code::Return:
        return false;
    default:
        return true;
    }
}

bool IsIntegerSlot(const FormulaNames& names, uint32_t slot) {
    if (!names.implicitName.empty() && slot == names.implicitSlot) return names.isImplicitInteger;
    const auto isIt = [slot](const FormulaNames::Variable& variable) { return variable.slot == slot; };
    const auto found = std::find_if(names.variables.begin(), names.variables.end(), isIt);
    return found != names.variables.end() && found->isInteger;
}

// False for a division by zero.
[[gnu::always_inline]] inline bool Apply(Code code, int64_t& top, int64_t right) {
    using namespace arithmetic;
    switch (code) {
    case Code::Multiply:
        top = WrapMultiply(top, right);
        return true;
    case Code::Divide:
        if (right == 0) return false;
        top = WrapDivide(top, right);
        return true;
    case Code::Remainder:
        if (right == 0) return false;
        top = WrapRemainder(top, right);
        return true;
    case Code::Add:
        top = WrapAdd(top, right);
        return true;
    case Code::Subtract:
        top = WrapSubtract(top, right);
        return true;
    case Code::ShiftLeft:
        top = ShiftLeft(top, right);
        return true;
    case Code::ShiftRight:
        top = ShiftRight(top, right);
        return true;
    case Code::Less:
        top = top < right;
        return true;
    case Code::LessEqual:
        top = top <= right;
        return true;
    case Code::Greater:
        top = top > right;
        return true;
    case Code::GreaterEqual:
        top = top >= right;
        return true;
    case Code::Equal:
        top = top == right;
        return true;
    case Code::NotEqual:
        top = top != right;
        return true;
    case Code::BitAnd:
        top &= right;
        return true;
    case Code::BitXor:
        top ^= right;
        return true;
    default:
        top |= right;
        return true;
    }
}

int64_t ApplyUnary(Code code, int64_t value) {
    switch (code) {
    case Code::Negate:
        return arithmetic::WrapSubtract(0, value);
    case Code::Complement:
        return ~value;
    case Code::Not:
        return value == 0;
    case Code::Truth:
        return value != 0;
    case Code::Sgn:
        return (value > 0) - (value < 0);
    case Code::Abs:
        return value < 0 ? arithmetic::WrapSubtract(0, value) : value;
    default:
        return value; // it is whole already
    }
}

} // namespace

bool IntegerMachine::Fits(const Formula& formula, const FormulaNames& names) {
    if (formula.m_Mode != FormulaMode::Integer || formula.m_StackSize > kStackSize) return false;
    const auto isInteger = [](Value value) { return !value.isReal; };
    if (!std::all_of(formula.m_Constants.begin(), formula.m_Constants.end(), isInteger)) return false;
    const auto isKnown = [&names](uint32_t slot) { return IsIntegerSlot(names, slot); };
    if (!std::all_of(formula.m_Slots.begin(), formula.m_Slots.end(), isKnown)) return false;
    const auto stays = [](Instruction instruction) { return StaysInteger(instruction.code); };
    return std::all_of(formula.m_Code.begin(), formula.m_Code.end(), stays);
}

// The top of the stack is kept apart; `free` is the place where it goes when something is pushed upon it.
FormulaResult IntegerMachine::Run(const Formula& formula, VariableSource& source) {
    int64_t stack[kStackSize + 1];
    int64_t* free = stack;
    int64_t top = 0;
    const Instruction* const code = formula.m_Code.data();
    for (const Instruction* next = code;;) {
        const Instruction instruction = *next++;
        if (instruction.operand != Operand::None) {
            int64_t right = top;
            if (instruction.operand == Operand::Constant)
                right = formula.m_Constants[instruction.argument].integer;
            else if (instruction.operand == Operand::Variable)
                right = source.ReadInteger(instruction.argument);
            else
                top = *--free;
            if (instruction.code == Code::Load) {
                *free++ = top;
                top = right;
            } else if (!Apply(instruction.code, top, right)) {
                return {{}, FormulaFault::DivisionByZero};
            }
            continue;
        }
        switch (instruction.code) {
        case Code::End:
            return {Value::Integer(top), FormulaFault::None};
        case Code::Jump:
            next = code + instruction.argument;
            break;
        case Code::JumpIfFalse:
            if (top == 0) next = code + instruction.argument;
            top = *--free;
            break;
        case Code::AndJump:
        case Code::OrJump:
            if ((top != 0) == (instruction.code == Code::OrJump)) {
                top = top != 0;
                next = code + instruction.argument;
            } else {
                top = *--free;
            }
            break;
        default:
            top = ApplyUnary(instruction.code, top);
            break;
        }
    }
}

} // namespace genapi
