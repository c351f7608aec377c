#include "genapi/formula/FormulaArithmetic.h"

#include <algorithm>

namespace genapi::arithmetic {

namespace {

// False when the exact power does not fit; `result` is then the wrapped one.
bool IntegerPower(int64_t base, int64_t exponent, int64_t& result) {
    bool fits = true;
    result = 1;
    for (uint64_t rest = static_cast<uint64_t>(exponent); rest != 0; rest >>= 1U) {
        if ((rest & 1U) != 0 && __builtin_mul_overflow(result, base, &result)) fits = false;
        if (rest > 1 && __builtin_mul_overflow(base, base, &base)) fits = false;
    }
    return fits;
}

Value Sign(Value value) {
    if (!value.isReal) return Value::Integer((value.integer > 0 ? 1 : 0) - (value.integer < 0 ? 1 : 0));
    return Value::Integer((value.real > 0 ? 1 : 0) - (value.real < 0 ? 1 : 0));
}

Value Absolute(Value value) {
    if (value.isReal) return Value::Real(std::fabs(value.real));
    return value.integer < 0 ? Value::Integer(WrapSubtract(0, value.integer)) : value;
}

double Transcendental(Code code, double x) {
    switch (code) {
    case Code::Sqrt:
        return std::sqrt(x);
    case Code::Exp:
        return std::exp(x);
    case Code::Ln:
        return std::log(x);
    case Code::Lg:
        return std::log10(x);
    case Code::Sin:
        return std::sin(x);
    case Code::Cos:
        return std::cos(x);
    case Code::Tan:
        return std::tan(x);
    case Code::Asin:
        return std::asin(x);
    case Code::Acos:
        return std::acos(x);
    default:
        return std::atan(x);
    }
}

// Integers are whole already and stay exact.
Value ToWhole(Code code, Value value) {
    if (!value.isReal) return value;
    switch (code) {
    case Code::Trunc:
        return Value::Real(std::trunc(value.real));
    case Code::Floor:
        return Value::Real(std::floor(value.real));
    case Code::Ceil:
        return Value::Real(std::ceil(value.real));
    default:
        return Value::Real(std::round(value.real));
    }
}

FormulaFault Complement(Value& value) {
    int64_t pattern = 0;
    if (!Truncate(value, pattern)) return FormulaFault::OutOfRange;
    value = Value::Integer(~pattern);
    return FormulaFault::None;
}

} // namespace

Value Power(Value base, Value exponent, FormulaMode mode) {
    if (!base.isReal && !exponent.isReal && exponent.integer >= 0) {
        int64_t result = 0;
        const bool fits = IntegerPower(base.integer, exponent.integer, result);
        if (fits || mode == FormulaMode::Integer) return Value::Integer(result);
    }
    return Value::Real(std::pow(base.AsReal(), exponent.AsReal()));
}

FormulaFault RoundTo(Value& number, Value digits) {
    int64_t count = 0;
    if (!Truncate(digits, count)) return FormulaFault::OutOfRange;
    if (!number.isReal && count >= 0) return FormulaFault::None;
    const double factor = std::pow(10.0, static_cast<double>(std::clamp<int64_t>(count, -400, 400)));
    const double scaled = number.AsReal() * factor;
    if (!std::isfinite(scaled)) return FormulaFault::None; // more decimals than the number has
    number = Value::Real(factor == 0.0 ? 0.0 : std::round(scaled) / factor);
    return FormulaFault::None;
}

FormulaFault ApplyUnary(Code code, Value& value) {
    switch (code) {
    case Code::Negate:
        value = value.isReal ? Value::Real(-value.real) : Value::Integer(WrapSubtract(0, value.integer));
        return FormulaFault::None;
    case Code::Complement:
        return Complement(value);
    case Code::Not:
        value = FromBool(!IsTrue(value));
        return FormulaFault::None;
    case Code::Truth:
        value = FromBool(IsTrue(value));
        return FormulaFault::None;
    case Code::Sgn:
        value = Sign(value);
        return FormulaFault::None;
    case Code::Abs:
        value = Absolute(value);
        return FormulaFault::None;
    case Code::Trunc:
    case Code::Floor:
    case Code::Ceil:
    case Code::Round:
        value = ToWhole(code, value);
        return FormulaFault::None;
    default:
        value = Value::Real(Transcendental(code, value.AsReal()));
        return FormulaFault::None;
    }
}

} // namespace genapi::arithmetic
