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
[[gnu::always_inline]] inline FormulaFault FormulaMachine<kMode>::Apply(Code code, Value& left, Value right) {
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

// `free` is the first place of the stack that is not in use, free[-1] its top.
template<FormulaMode kMode>
FormulaResult FormulaMachine<kMode>::RunOn(Value* free) {
    const Instruction* next = m_Formula.m_Code.data();
    for (;;) {
        const Instruction instruction = *next++;
        FormulaFault fault = FormulaFault::None;
        if (instruction.operand != Operand::None) {
            const Value right = Fetch(instruction, free);
            if (instruction.code == Code::Load)
                *free++ = right;
            else
                fault = Apply(instruction.code, free[-1], right);
        } else if (IsUnary(instruction.code)) {
            fault = arithmetic::ApplyUnary(instruction.code, free[-1]);
        } else if (instruction.code == Code::End) {
            return Finish(free[-1]);
        } else {
            next = Control(instruction, next, free);
        }
        if (fault != FormulaFault::None) return {{}, fault};
    }
}

template<FormulaMode kMode>
[[gnu::always_inline]] inline Value FormulaMachine<kMode>::Fetch(Instruction instruction, Value*& free) {
    if (instruction.operand == Operand::Constant) return m_Formula.m_Constants[instruction.argument];
    if (instruction.operand == Operand::Variable) return m_Source.Read(instruction.argument);
    return *--free;
}

// Jumps, calls and returns: the instruction that comes next.
template<FormulaMode kMode>
inline const Instruction* FormulaMachine<kMode>::Control(Instruction instruction, const Instruction* next,
                                                         Value*& free) {
    const Instruction* const code = m_Formula.m_Code.data();
    switch (instruction.code) {
    case Code::JumpIfFalse:
        return arithmetic::IsTrue(*--free) ? next : code + instruction.argument;
    case Code::AndJump:
    case Code::OrJump: {
        const bool truth = arithmetic::IsTrue(free[-1]);
        if (truth != (instruction.code == Code::OrJump)) {
            --free;
            return next;
        }
        free[-1] = arithmetic::FromBool(truth);
        return code + instruction.argument;
    }
    case Code::Call:
        return Enter(instruction.argument, next, free);
    case Code::Return: {
        Memo& memo = m_Memos[instruction.argument];
        memo.value = free[-1];
        memo.isKnown = true;
        return code + memo.returnTo;
    }
    default:
        return code + instruction.argument;
    }
}

// A sub-formula's value, or the way to it.
template<FormulaMode kMode>
const Instruction* FormulaMachine<kMode>::Enter(uint32_t block, const Instruction* next, Value*& free) {
    const Instruction* const code = m_Formula.m_Code.data();
    Memo& memo = m_Memos[block];
    if (memo.isKnown) {
        *free++ = memo.value;
        return next;
    }
    memo.returnTo = static_cast<uint32_t>(next - code);
    return code + m_Formula.m_Entries[block];
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
