#pragma once
// What the operators and functions of formulas compute.

#include "genapi/formula/Formula.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace genapi::arithmetic {

inline bool IsTrue(Value value) {
    return value.isReal ? value.real != 0.0 : value.integer != 0;
}

inline Value FromBool(bool truth) {
    return Value::Integer(truth ? 1 : 0);
}

/// Toward zero. False when the number has no place in 64 bits.
inline bool Truncate(Value value, int64_t& integer) {
    constexpr double kLimit = 9223372036854775808.0; // 2 to the 63rd
    if (!value.isReal) {
        integer = value.integer;
        return true;
    }
    if (!(value.real >= -kLimit && value.real < kLimit)) return false;
    integer = static_cast<int64_t>(value.real);
    return true;
}

inline int64_t WrapAdd(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
inline int64_t WrapSubtract(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}
inline int64_t WrapMultiply(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}
/// The divisor is not 0. Minus 2 to the 63rd over -1 wraps instead of trapping.
inline int64_t WrapDivide(int64_t a, int64_t b) {
    return b == -1 ? WrapSubtract(0, a) : a / b;
}
inline int64_t WrapRemainder(int64_t a, int64_t b) {
    return b == -1 ? 0 : a % b;
}

/// Operations on two integers that stay integers: wrapping in integer mode, turning to double in float mode.
enum class Sum : uint8_t { Add, Subtract, Multiply };

template<FormulaMode kMode, Sum kSum>
inline Value Combine(Value left, Value right) {
    if (left.isReal || right.isReal) {
        const double a = left.AsReal();
        const double b = right.AsReal();
        if constexpr (kSum == Sum::Add)
            return Value::Real(a + b);
        else if constexpr (kSum == Sum::Subtract)
            return Value::Real(a - b);
        else
            return Value::Real(a * b);
    }
    int64_t result = 0;
    bool overflows = false;
    if constexpr (kSum == Sum::Add)
        overflows = __builtin_add_overflow(left.integer, right.integer, &result);
    else if constexpr (kSum == Sum::Subtract)
        overflows = __builtin_sub_overflow(left.integer, right.integer, &result);
    else
        overflows = __builtin_mul_overflow(left.integer, right.integer, &result);
    if constexpr (kMode == FormulaMode::Float) {
        if (overflows) {
            left = Value::Real(left.AsReal());
            return Combine<kMode, kSum>(left, right);
        }
    }
    return Value::Integer(result); // the builtins give the wrapped result
}

template<class Compare>
inline Value Ordered(Value left, Value right, Compare compare) {
    if (left.isReal || right.isReal) return FromBool(compare(left.AsReal(), right.AsReal()));
    return FromBool(compare(left.integer, right.integer));
}

inline FormulaFault Divide(Value& left, Value right, FormulaMode mode) {
    if (!IsTrue(right)) return FormulaFault::DivisionByZero;
    if (mode == FormulaMode::Integer && !left.isReal && !right.isReal) {
        left = Value::Integer(WrapDivide(left.integer, right.integer));
    } else {
        left = Value::Real(left.AsReal() / right.AsReal());
    }
    return FormulaFault::None;
}

inline FormulaFault Remainder(Value& left, Value right) {
    if (!IsTrue(right)) return FormulaFault::DivisionByZero;
    if (!left.isReal && !right.isReal)
        left = Value::Integer(WrapRemainder(left.integer, right.integer));
    else
        left = Value::Real(std::fmod(left.AsReal(), right.AsReal()));
    return FormulaFault::None;
}

/// Both sides as 64-bit patterns; floats are cut toward zero.
template<class Operation>
inline FormulaFault Bitwise(Value& left, Value right, Operation operation) {
    int64_t a = 0;
    int64_t b = 0;
    if (!Truncate(left, a) || !Truncate(right, b)) return FormulaFault::OutOfRange;
    left = Value::Integer(operation(a, b));
    return FormulaFault::None;
}

inline int64_t ShiftLeft(int64_t pattern, int64_t count) {
    return static_cast<int64_t>(static_cast<uint64_t>(pattern) << (static_cast<uint64_t>(count) & 63U));
}
inline int64_t ShiftRight(int64_t pattern, int64_t count) {
    return pattern >> (static_cast<uint64_t>(count) & 63U);
}

[[nodiscard]] Value Power(Value base, Value exponent, FormulaMode mode);

/// Halves away from zero, at `digits` decimals.
[[nodiscard]] FormulaFault RoundTo(Value& number, Value digits);

/// All unary operators and functions.
[[nodiscard]] FormulaFault ApplyUnary(Code code, Value& value);

} // namespace genapi::arithmetic
