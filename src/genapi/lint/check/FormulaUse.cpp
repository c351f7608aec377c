#include "genapi/lint/check/FormulaUse.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/PropertyRules.h"

namespace genapi {

namespace {

FormulaMode ModeOf(NodeType type) {
    const bool isInteger = type == NodeType::IntSwissKnife || type == NodeType::IntConverter;
    return isInteger ? FormulaMode::Integer : FormulaMode::Float;
}

Value ConstantOf(FormulaMode mode, std::string_view text) {
    if (mode == FormulaMode::Integer) return Value::Integer(ParseInteger(text).value_or(0));
    return Value::Real(ParseFloat(text).value_or(0.0));
}

} // namespace

std::vector<NodeFormula> FormulasOf(const LintModel& model, int node) {
    const NodeRecord& record = model.Node(node);
    std::vector<NodeFormula> formulas;
    if (!HasProperty(record.type, PropertyId::pVariable)) return formulas;
    const FormulaMode mode = ModeOf(record.type);
    FormulaNames names;
    std::vector<const PropertyRecord*> variables;
    for (const PropertyRecord& property : record.properties) {
        if (property.id == PropertyId::pVariable) {
            names.variables.push_back({property.attribute, static_cast<uint32_t>(variables.size())});
            variables.push_back(&property);
        }
        if (property.id == PropertyId::Constant)
            names.constants.push_back({property.attribute, ConstantOf(mode, property.value)});
        if (property.id == PropertyId::Expression) names.expressions.push_back({property.attribute, property.value});
    }
    names.implicitSlot = static_cast<uint32_t>(variables.size());
    for (const PropertyId id : {PropertyId::Formula, PropertyId::FormulaFrom, PropertyId::FormulaTo}) {
        const PropertyRecord* const text = model.Property(node, id);
        if (text == nullptr) continue;
        names.implicitName = id == PropertyId::FormulaFrom ? "TO" : id == PropertyId::FormulaTo ? "FROM" : "";
        NodeFormula& made = formulas.emplace_back();
        made.property = text;
        made.formula = Formula::Compile(text->value, mode, names);
        for (const uint32_t slot : made.formula.Slots()) {
            if (slot < variables.size()) made.mentioned.push_back(variables[slot]);
        }
    }
    return formulas;
}

} // namespace genapi
