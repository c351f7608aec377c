// Formulas, from the first line of the input; further lines declare expressions E0, E1, ...

#include "genapi/formula/Formula.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

class CountingSource final : public genapi::VariableSource {
public:
    genapi::Value Read(uint32_t slot) override {
        switch (slot) {
        case 0:
            return genapi::Value::Integer(INT64_MIN);
        case 1:
            return genapi::Value::Real(-0.5);
        default:
            return genapi::Value::Integer(3);
        }
    }
};

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string_view> lines = Lines({reinterpret_cast<const char*>(data), size});
    if (lines.empty()) return 0;
    std::vector<std::string> keys(lines.size());
    genapi::FormulaNames names;
    names.variables = {{"X", 0}, {"Y.Max", 1}, {"S.Entry.On", 2}};
    names.constants = {{"C", genapi::Value::Real(2.5)}};
    names.implicitName = "TO";
    for (std::size_t i = 1; i < lines.size(); ++i) {
        keys[i] = "E" + std::to_string(i - 1);
        names.expressions.push_back({keys[i], lines[i]});
    }
    CountingSource source;
    for (const genapi::FormulaMode mode : {genapi::FormulaMode::Integer, genapi::FormulaMode::Float}) {
        const genapi::Formula formula = genapi::Formula::Compile(lines[0], mode, names);
        const genapi::FormulaResult result = formula.TryEvaluate(source);
        const bool isSound = formula.IsValid() == (result.fault != genapi::FormulaFault::Malformed);
        if (!isSound || (result.fault != genapi::FormulaFault::None && formula.FaultText(result.fault).empty())) {
            __builtin_trap();
        }
    }
    return 0;
}
