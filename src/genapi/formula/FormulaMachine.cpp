#include "genapi/formula/FormulaMachine.h"

#include <functional>
#include <memory>

namespace genapi {

namespace {

constexpr std::size_t kSmallStack = 16;

} // namespace

template<FormulaMode kMode>
FormulaResult FormulaMachine<kMode>::Run() {
    m_Memos.resize(m_Formula.m_Entries.size());
    if (m_Formula.m_StackSize <= kSmallStack) {
        // Left uninitialised on purpose: clearing would cost as much as a short formula.
        alignas(Value) unsigned char storage[kSmallStack * sizeof(Value)];
        return RunOn(reinterpret_cast<Value*>(storage));
    }
    const auto stack = std::make_unique<Value[]>(m_Formula.m_StackSize);
    return RunOn(stack.get());
}

template<FormulaMode kMode>
inline FormulaFault FormulaMachine<kMode>::Apply(Code code, Value& left, Value right) {
    using namespace arithmetic;
    switch (code) {
    case Code::Add:
        left = Combine<kMode, Sum::Add>(left, right);
        return FormulaFault::None;
    case Code::Subtract:
        left = Combine<kMode, Sum::Subtract>(left, right);
        return FormulaFault::None;
    case Code::Multiply:
        left = Combine<kMode, Sum::Multiply>(left, right);
        return FormulaFault::None;
    case Code::Divide:
        return Divide(left, right, kMode);
    case Code::Remainder:
        return Remainder(left, right);
    case Code::Power:
        left = Power(left, right, kMode);
        return FormulaFault::None;
    case Code::ShiftLeft:
        return Bitwise(left, right, ShiftLeft);
    case Code::ShiftRight:
        return Bitwise(left, right, ShiftRight);
    case Code::BitAnd:
        return Bitwise(left, right, std::bit_and<>());
    case Code::BitXor:
        return Bitwise(left, right, std::bit_xor<>());
    case Code::BitOr:
        return Bitwise(left, right, std::bit_or<>());
    case Code::Less:
        left = Ordered(left, right, std::less<>());
        return FormulaFault::None;
    case Code::LessEqual:
        left = Ordered(left, right, std::less_equal<>());
        return FormulaFault::None;
    case Code::Greater:
        left = Ordered(left, right, std::greater<>());
        return FormulaFault::None;
    case Code::GreaterEqual:
        left = Ordered(left, right, std::greater_equal<>());
        return FormulaFault::None;
    case Code::Equal:
        left = Ordered(left, right, std::equal_to<>());
        return FormulaFault::None;
    case Code::NotEqual:
        left = Ordered(left, right, std::not_equal_to<>());
        return FormulaFault::None;
    default:
        return RoundTo(left, right);
    }
}

// `stack` grows upwards, `top` is the last value on it; before the first push it points in front of the array's use.
template<FormulaMode kMode>
FormulaResult FormulaMachine<kMode>::RunOn(Value* stack) {
    const Instruction* const code = m_Formula.m_Code.data();
    const Value* const constants = m_Formula.m_Constants.data();
    const Instruction* next = code;
    Value* free = stack; // first place not in use
    for (;;) {
        const Instruction instruction = *next++;
        if (instruction.operand != Operand::None) {
            Value right;
            if (instruction.operand == Operand::Constant)
                right = constants[instruction.argument];
            else if (instruction.operand == Operand::Variable)
                right = m_Source.Read(instruction.argument);
            else
                right = *--free;
            if (instruction.code == Code::Load) {
                *free++ = right;
                continue;
            }
            const FormulaFault fault = Apply(instruction.code, free[-1], right);
            if (fault != FormulaFault::None) return {{}, fault};
            continue;
        }
        if (IsUnary(instruction.code)) {
            const FormulaFault fault = arithmetic::ApplyUnary(instruction.code, free[-1]);
            if (fault != FormulaFault::None) return {{}, fault};
            continue;
        }
        switch (instruction.code) {
        case Code::Jump:
            next = code + instruction.argument;
            break;
        case Code::JumpIfFalse:
            if (!arithmetic::IsTrue(*--free)) next = code + instruction.argument;
            break;
        case Code::AndJump:
        case Code::OrJump: {
            const bool truth = arithmetic::IsTrue(free[-1]);
            if (truth == (instruction.code == Code::OrJump)) {
                free[-1] = arithmetic::FromBool(truth);
                next = code + instruction.argument;
            } else {
                --free;
            }
            break;
        }
        case Code::Call: {
            Memo& memo = m_Memos[instruction.argument];
            if (memo.isKnown) {
                *free++ = memo.value;
            } else {
                memo.returnTo = static_cast<uint32_t>(next - code);
                next = code + m_Formula.m_Entries[instruction.argument];
            }
            break;
        }
        case Code::Return: {
            Memo& memo = m_Memos[instruction.argument];
            memo.value = free[-1];
            memo.isKnown = true;
            next = code + memo.returnTo;
            break;
        }
        default:
            return Finish(free[-1]);
        }
    }
}

template<FormulaMode kMode>
FormulaResult FormulaMachine<kMode>::Finish(Value value) const {
    if (value.isReal && !std::isfinite(value.real)) return {{}, FormulaFault::NotFinite};
    if constexpr (kMode == FormulaMode::Float) return {Value::Real(value.AsReal()), FormulaFault::None};
    int64_t integer = 0;
    if (!arithmetic::Truncate(value, integer)) return {{}, FormulaFault::OutOfRange};
    return {Value::Integer(integer), FormulaFault::None};
}

template class FormulaMachine<FormulaMode::Integer>;
template class FormulaMachine<FormulaMode::Float>;

} // namespace genapi
