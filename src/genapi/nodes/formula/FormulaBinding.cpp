#include "genapi/nodes/formula/FormulaBinding.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/EnumerationNode.h"
#include "genapi/nodes/base/Links.h"
#include "genapi/nodes/base/Throw.h"

#include <utility>

namespace genapi {

namespace {

Value ReadEntry(Node& node, std::string_view symbolic) {
    const EnumerationNode* const pEnumeration = dynamic_cast<EnumerationNode*>(&node);
    const EnumEntryNode* const pEntry = pEnumeration ? pEnumeration->FindEntry(symbolic) : nullptr;
    if (!pEntry) ThrowRuntime(node, "GetEntryByName", "There is no entry '" + std::string(symbolic) + "'.");
    pEntry->ThrowIfDefective("GetValue");
    return Value::Integer(pEntry->Number());
}

Value ConstantValue(std::string_view text, FormulaMode mode) {
    const std::optional<int64_t> integer = ParseInteger(text);
    if (integer && mode == FormulaMode::Integer) return Value::Integer(*integer);
    return Value::Real(ParseFloat(text).value_or(0.0));
}

// Only the node's own numbers may be real; the other things that can be asked are counted.
bool IsAlwaysInteger(const FormulaScope::Variable& variable) {
    return !variable.pNode->IsReal();
}

// Reads the variables of one evaluation. bound to a thread
class Source final : public VariableSource {
public:
    Source(const FormulaScope& scope, FormulaMode mode, ReadFlags flags, Value implicit)
        : m_Scope(scope), m_Flags(flags), m_Implicit(implicit), m_WantsReal(mode == FormulaMode::Float) {
        m_Flags.verify = false;
    }

    Value Read(uint32_t slot) override {
        if (slot >= m_Scope.Variables().size()) return m_Implicit;
        const FormulaScope::Variable& variable = m_Scope.Variables()[slot];
        if (variable.parts.suffix == VariableSuffix::Value) return variable.pNode->ReadNumber(m_Flags, m_WantsReal);
        return ReadSuffix(variable);
    }
    int64_t ReadInteger(uint32_t slot) override {
        if (slot >= m_Scope.Variables().size()) return m_Implicit.integer;
        const FormulaScope::Variable& variable = m_Scope.Variables()[slot];
        if (variable.parts.suffix == VariableSuffix::Value) return variable.pNode->ReadInteger(m_Flags);
        return ReadSuffix(variable).integer;
    }

private:
    Value ReadSuffix(const FormulaScope::Variable& variable) const {
        Node& node = *variable.pNode;
        switch (variable.parts.suffix) {
        case VariableSuffix::Min:
            return node.IsReal() ? Value::Real(node.RealMin()) : Value::Integer(node.IntegerMin());
        case VariableSuffix::Max:
            return node.IsReal() ? Value::Real(node.RealMax()) : Value::Integer(node.IntegerMax());
        case VariableSuffix::Inc:
            if (!node.IsReal()) return Value::Integer(node.IntegerInc());
            return Value::Real(node.HasRealInc() ? node.RealInc() : 0.0);
        case VariableSuffix::AccessMode:
            return Value::Integer(node.Access());
        case VariableSuffix::Visibility:
            return Value::Integer(node.GetVisibility());
        case VariableSuffix::CachingMode:
            return Value::Integer(CachingModeOf(node));
        case VariableSuffix::Entry:
            return ReadEntry(node, variable.parts.entry);
        case VariableSuffix::Value:
        case VariableSuffix::Unknown:
            break;
        }
        ThrowRuntime(node, "GetValue", "The variable '" + std::string(variable.name) + "' asks for something unknown.");
    }

    const FormulaScope& m_Scope;
    ReadFlags m_Flags;
    Value m_Implicit;
    bool m_WantsReal;
};

} // namespace

void FormulaScope::Bind(const BoundProperty& property) {
    const PropertyRecord& record = property.record;
    switch (record.id) {
    case PropertyId::pVariable:
        m_Variables.push_back({record.attribute, property.pTarget, ParseVariableName(record.attribute)});
        break;
    case PropertyId::Constant:
        m_Constants.push_back({record.attribute, record.value});
        break;
    case PropertyId::Expression:
        m_Expressions.push_back({record.attribute, record.value});
        break;
    default:
        break;
    }
}

const Formula& FormulaBinding::Compiled(const FormulaScope& scope) {
    if (m_pFormula) return *m_pFormula;
    FormulaNames names;
    uint32_t slot = 0;
    for (const FormulaScope::Variable& variable : scope.Variables())
        names.variables.push_back({variable.name, slot++, IsAlwaysInteger(variable)});
    for (const FormulaScope::Text& constant : scope.Constants()) {
        names.constants.push_back({constant.name, ConstantValue(constant.text, m_Mode)});
    }
    for (const FormulaScope::Text& part : scope.Expressions())
        names.expressions.push_back({part.name, part.text});
    names.implicitName = m_ImplicitName;
    names.implicitSlot = slot;
    names.isImplicitInteger = m_IsImplicitInteger;
    m_pFormula = std::make_unique<Formula>(Formula::Compile(m_Text, m_Mode, names));
    return *m_pFormula;
}

Value FormulaBinding::Evaluate(Node& owner, const FormulaScope& scope, ReadFlags flags, Value implicit) {
    const Formula& formula = Compiled(scope);
    if (!formula.IsValid()) ThrowRuntime(owner, "GetValue", "Formula error: " + formula.Error());
    Source source(scope, m_Mode, flags, implicit);
    const FormulaResult result = formula.TryEvaluate(source);
    if (result.fault != FormulaFault::None) ThrowRuntime(owner, "GetValue", formula.FaultText(result.fault));
    return result.value;
}

bool FormulaBinding::Mentions(const FormulaScope& scope, std::string_view variable) {
    if (!m_pMentioned) {
        auto pMentioned = std::make_unique<std::unordered_set<std::string_view>>();
        for (const uint32_t slot : Compiled(scope).Slots()) {
            if (slot >= scope.Variables().size()) continue;
            const FormulaScope::Variable& candidate = scope.Variables()[slot];
            if (candidate.parts.suffix == VariableSuffix::Value) pMentioned->insert(candidate.name);
        }
        m_pMentioned = std::move(pMentioned);
    }
    return m_pMentioned->count(variable) != 0;
}

bool FormulaBinding::AreVariablesReadable(const FormulaScope& scope) {
    for (const uint32_t slot : Compiled(scope).Slots()) {
        if (slot >= scope.Variables().size()) continue;
        const FormulaScope::Variable& variable = scope.Variables()[slot];
        if (variable.parts.suffix != VariableSuffix::Value) continue;
        if (!GenApi::IsReadable(variable.pNode->Access())) return false;
    }
    return true;
}

} // namespace genapi
