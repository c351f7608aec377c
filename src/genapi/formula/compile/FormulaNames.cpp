#include "genapi/formula/compile/FormulaNames.h"

#include <cstddef>

namespace genapi {

namespace {

VariableSuffix FindSuffix(std::string_view text) noexcept {
    struct Row {
        std::string_view text;
        VariableSuffix suffix;
    };
    constexpr Row kRows[] = {
        {"Value", VariableSuffix::Value},
        {"Min", VariableSuffix::Min},
        {"Max", VariableSuffix::Max},
        {"Inc", VariableSuffix::Inc},
        {"AccessMode", VariableSuffix::AccessMode},
        {"Visibility", VariableSuffix::Visibility},
        {"CachingMode", VariableSuffix::CachingMode},
    };
    for (const Row& row : kRows) {
        if (row.text == text) return row.suffix;
    }
    return VariableSuffix::Unknown;
}

} // namespace

VariableName ParseVariableName(std::string_view name) noexcept {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) return {name, VariableSuffix::Value, {}};
    const std::string_view base = name.substr(0, dot);
    const std::string_view suffix = name.substr(dot + 1);
    for (const std::string_view prefix : {std::string_view("Entry."), std::string_view("Enum.")}) {
        if (suffix.substr(0, prefix.size()) != prefix) continue;
        return {base, VariableSuffix::Entry, suffix.substr(prefix.size())};
    }
    return {base, FindSuffix(suffix), {}};
}

} // namespace genapi
