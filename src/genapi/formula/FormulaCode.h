#pragma once
// The instruction set of compiled formulas.

#include <cstdint>

namespace genapi {

/// Where an instruction finds its right operand.
enum class Operand : uint8_t { None, Stack, Constant, Variable };

/// What it does. Binary operations take the top of the stack as left operand and leave the result there.
enum class Code : uint8_t {
    Load, ///< pushes the operand
    Power,
    Multiply,
    Divide,
    Remainder,
    Add,
    Subtract,
    ShiftLeft,
    ShiftRight,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Equal,
    NotEqual,
    BitAnd,
    BitXor,
    BitOr,
    RoundTo,
    /// Unary: replace the top of the stack.
    Negate,
    Complement,
    Not,
    Truth,
    Sgn,
    Abs,
    Sqrt,
    Exp,
    Ln,
    Lg,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
    Trunc,
    Floor,
    Ceil,
    Round,
    /// Control: the argument is an index of an instruction, for the last two of a sub-formula.
    Jump,
    JumpIfFalse, ///< pops
    AndJump,     ///< false: 0 replaces the top, jump; true: pops
    OrJump,      ///< true: 1 replaces the top, jump; false: pops
    Call,        ///< pushes the sub-formula's value, computed at the first call
    Return,
    End,
};

constexpr bool IsUnary(Code code) {
    return code >= Code::Negate && code <= Code::Round;
}

struct Instruction {
    Code code = Code::End;
    Operand operand = Operand::None;
    uint32_t argument = 0;
};
static_assert(sizeof(Instruction) == 8);

} // namespace genapi
