#pragma once
// The names that one formula may use, made ready for look-up.

#include "genapi/formula/FormulaCode.h"
#include "genapi/formula/compile/FormulaNames.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace genapi {

enum class NameKind : uint8_t { Variable, Constant, Expression };

/// A declared name and its index in the list of its kind.
struct DeclaredName {
    std::string_view name;
    NameKind kind = NameKind::Variable;
    uint32_t index = 0;
};

/// Declared names, sorted once. Constant after construction, re-entrant.
class FormulaNameTable {
public:
    /// The names are borrowed.
    explicit FormulaNameTable(const FormulaNames& names);

    /// Null when undeclared. X.Entry.Off and X.Enum.Off are the same variable, whichever was declared.
    [[nodiscard]] const DeclaredName* Find(std::string_view name) const;

private:
    [[nodiscard]] const DeclaredName* FindSpelling(std::string_view name) const;

    std::vector<DeclaredName> m_Declared; ///< by name, kinds in order of look-up
};

/// E and PI, in any letter case when called like functions.
[[nodiscard]] std::optional<double> FindConstant(std::string_view name) noexcept;
[[nodiscard]] std::optional<double> FindConstantCall(std::string_view name) noexcept;

/// The code of a function with one argument, in any letter case.
[[nodiscard]] std::optional<Code> FindFunction(std::string_view name) noexcept;

} // namespace genapi
