#include "genapi/formula/compile/FormulaNameTable.h"

#include <algorithm>
#include <string>

namespace genapi {

namespace {

struct FunctionRow {
    std::string_view name;
    Code code;
};

constexpr FunctionRow kFunctions[] = {
    {"SGN", Code::Sgn},   {"NEG", Code::Negate},  {"ABS", Code::Abs},   {"SQRT", Code::Sqrt},   {"EXP", Code::Exp},
    {"LN", Code::Ln},     {"LG", Code::Lg},       {"SIN", Code::Sin},   {"COS", Code::Cos},     {"TAN", Code::Tan},
    {"ASIN", Code::Asin}, {"ACOS", Code::Acos},   {"ATAN", Code::Atan}, {"TRUNC", Code::Trunc}, {"FLOOR", Code::Floor},
    {"CEIL", Code::Ceil}, {"ROUND", Code::Round},
};

struct ConstantRow {
    std::string_view name;
    double value;
};

constexpr ConstantRow kConstants[] = {
    {"E", 2.718281828459045235360287471352662498},
    {"PI", 3.141592653589793238462643383279502884},
};

bool CapitalisesTo(std::string_view text, std::string_view upperCase) noexcept {
    return std::equal(text.begin(), text.end(), upperCase.begin(), upperCase.end(),
                      [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
}

} // namespace

FormulaNameTable::FormulaNameTable(const FormulaNames& names) {
    m_Declared.reserve(names.variables.size() + names.constants.size() + names.expressions.size());
    uint32_t index = 0;
    for (const auto& variable : names.variables)
        m_Declared.push_back({variable.name, NameKind::Variable, index++});
    index = 0;
    for (const auto& constant : names.constants)
        m_Declared.push_back({constant.name, NameKind::Constant, index++});
    index = 0;
    for (const auto& part : names.expressions)
        m_Declared.push_back({part.name, NameKind::Expression, index++});
    std::stable_sort(m_Declared.begin(), m_Declared.end(),
                     [](const DeclaredName& a, const DeclaredName& b) { return a.name < b.name; });
}

const DeclaredName* FormulaNameTable::FindSpelling(std::string_view name) const {
    const auto found = std::lower_bound(m_Declared.begin(), m_Declared.end(), name,
                                        [](const DeclaredName& a, std::string_view b) { return a.name < b; });
    return found != m_Declared.end() && found->name == name ? &*found : nullptr;
}

const DeclaredName* FormulaNameTable::Find(std::string_view name) const {
    if (const DeclaredName* const found = FindSpelling(name)) return found;
    const VariableName parsed = ParseVariableName(name);
    if (parsed.suffix != VariableSuffix::Entry) return nullptr;
    for (const char* const middle : {".Entry.", ".Enum."}) {
        const std::string spelling = std::string(parsed.base) + middle + std::string(parsed.entry);
        if (const DeclaredName* const found = FindSpelling(spelling)) return found;
    }
    return nullptr;
}

std::optional<double> FindConstant(std::string_view name) noexcept {
    for (const ConstantRow& row : kConstants) {
        if (row.name == name) return row.value;
    }
    return std::nullopt;
}

std::optional<double> FindConstantCall(std::string_view name) noexcept {
    for (const ConstantRow& row : kConstants) {
        if (CapitalisesTo(name, row.name)) return row.value;
    }
    return std::nullopt;
}

std::optional<Code> FindFunction(std::string_view name) noexcept {
    for (const FunctionRow& row : kFunctions) {
        if (CapitalisesTo(name, row.name)) return row.code;
    }
    return std::nullopt;
}

} // namespace genapi
