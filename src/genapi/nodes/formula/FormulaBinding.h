#pragma once
// What binds the names of a formula to nodes.

#include "genapi/formula/Formula.h"
#include "genapi/nodes/base/Node.h"

#include <memory>
#include <unordered_set>
#include <vector>

namespace genapi {

/// The declarations of one node, shared by its formulas. Constant after Bind, re-entrant.
class FormulaScope {
public:
    void Bind(const BoundProperty& property);

    struct Variable {
        std::string_view name;
        Node* pNode;
        VariableName parts;
    };
    struct Text {
        std::string_view name;
        std::string_view text;
    };
    const std::vector<Variable>& Variables() const { return m_Variables; }
    const std::vector<Text>& Constants() const { return m_Constants; }
    const std::vector<Text>& Expressions() const { return m_Expressions; }

private:
    std::vector<Variable> m_Variables;
    std::vector<Text> m_Constants;
    std::vector<Text> m_Expressions;
};

/// One formula, compiled when it is first needed. Guarded by the map's lock.
class FormulaBinding {
public:
    FormulaBinding(FormulaMode mode, std::string_view implicitName) : m_Mode(mode), m_ImplicitName(implicitName) {}

    void SetText(std::string_view text) { m_Text = text; }
    /// Before the first use. Nothing but whole numbers will come under the implicit name.
    void SetImplicitInteger() { m_IsImplicitInteger = true; }
    /// Throws RuntimeException in the owner's name when the formula is malformed, unbound or has no value.
    Value Evaluate(Node& owner, const FormulaScope& scope, ReadFlags flags, Value implicit = {});
    /// False when a variable that the formula mentions cannot be read.
    bool AreVariablesReadable(const FormulaScope& scope);
    /// Whether the formula mentions the value of the variable.
    bool Mentions(const FormulaScope& scope, std::string_view variable);
    /// What is wrong with the text; empty when nothing is.
    const std::string& CompileError(const FormulaScope& scope) { return Compiled(scope).Error(); }

private:
    const Formula& Compiled(const FormulaScope& scope);

    FormulaMode m_Mode;
    std::string_view m_ImplicitName;
    std::string_view m_Text;
    std::unique_ptr<Formula> m_pFormula;
    std::unique_ptr<std::unordered_set<std::string_view>> m_pMentioned; ///< when somebody asked
    bool m_IsImplicitInteger = false;
};

} // namespace genapi
