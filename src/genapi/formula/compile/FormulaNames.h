#pragma once
// Names that a formula may use, and what the suffixes of variable names ask for.

#include "genapi/formula/FormulaValue.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi {

/// Declarations for Formula::Compile; the texts are borrowed during that call only. A name is looked up among
/// variables, then constants, then expressions, then the implicit name; the built-in E and PI come last. The first
/// declaration of a name within its kind counts.
struct FormulaNames {
    struct Variable {
        std::string_view name;  ///< whole dotted name as declared
        uint32_t slot;          ///< what VariableSource::Read is asked for
        bool isInteger = false; ///< always; a hint that makes evaluation faster
    };
    struct Constant {
        std::string_view name;
        Value value;
    };
    struct Expression {
        std::string_view name;
        std::string_view text;
    };
    std::vector<Variable> variables;
    std::vector<Constant> constants;
    std::vector<Expression> expressions;
    std::string_view implicitName; ///< "TO" or "FROM" in converters, else empty
    uint32_t implicitSlot = 0;
    bool isImplicitInteger = false;
};

/// What a variable name's suffix asks of the node.
enum class VariableSuffix : uint8_t { Value, Min, Max, Inc, AccessMode, Visibility, CachingMode, Entry, Unknown };

struct VariableName {
    std::string_view base;
    VariableSuffix suffix = VariableSuffix::Value;
    std::string_view entry; ///< symbolic name, with suffix Entry only
};

/// "X" and "X.Value" ask for the value; "X.Entry.Off" and "X.Enum.Off" for the entry's value.
[[nodiscard]] VariableName ParseVariableName(std::string_view name) noexcept;

} // namespace genapi
