#pragma once
// A number in a formula: an exact 64-bit integer or a double.

#include <cstdint>

namespace genapi {

struct Value {
    union {
        int64_t integer = 0;
        double real;
    };
    bool isReal = false;

    Value() = default;
    static Value Integer(int64_t number) {
        Value value;
        value.integer = number;
        return value;
    }
    static Value Real(double number) {
        Value value;
        value.real = number;
        value.isReal = true;
        return value;
    }
    double AsReal() const { return isReal ? real : static_cast<double>(integer); }
};

} // namespace genapi
