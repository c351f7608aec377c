#pragma once
// Words for tests of formulas.

#include "genapi/formula/Formula.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace genapi::testkit {

// Gives slot n the n-th value and remembers what was asked for.
class ListSource final : public VariableSource {
public:
    explicit ListSource(std::vector<Value> list = {}) : values(std::move(list)) {}
    Value Read(uint32_t slot) override {
        reads.push_back(slot);
        return values.at(slot);
    }
    std::vector<Value> values;
    std::vector<uint32_t> reads;
};

inline FormulaResult Run(std::string_view text, FormulaMode mode, const FormulaNames& names = {},
                         std::vector<Value> values = {}) {
    ListSource source(std::move(values));
    return Formula::Compile(text, mode, names).TryEvaluate(source);
}

// The value as text: "7", "3.5", or the fault's or compile error's sentence.
inline std::string Show(std::string_view text, FormulaMode mode, const FormulaNames& names = {},
                        std::vector<Value> values = {}) {
    const Formula formula = Formula::Compile(text, mode, names);
    ListSource source(std::move(values));
    const FormulaResult result = formula.TryEvaluate(source);
    if (result.fault != FormulaFault::None) return formula.FaultText(result.fault);
    if (!result.value.isReal) return std::to_string(result.value.integer);
    char number[64];
    snprintf(number, sizeof number, "%.15g", result.value.real);
    return number;
}

inline FormulaNames OneVariable(std::string_view name) {
    FormulaNames names;
    names.variables.push_back({name, 0});
    return names;
}

} // namespace genapi::testkit
