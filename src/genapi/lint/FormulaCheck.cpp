#include "genapi/lint/Checks.h"
#include "genapi/lint/FormulaUse.h"

namespace genapi {

namespace {

bool HasEntry(const LintModel& model, int enumeration, std::string_view symbolic) {
    for (const PropertyRecord& property : model.Node(enumeration).properties) {
        const int entry = property.id == PropertyId::pEnumEntry ? model.Find(property.value) : LintModel::kNone;
        if (entry != LintModel::kNone && model.Value(entry, PropertyId::Symbolic) == symbolic) return true;
    }
    return false;
}

std::string FaultOf(const LintModel& model, const PropertyRecord& variable) {
    const VariableName name = ParseVariableName(variable.attribute);
    const int target = model.Find(variable.value);
    if (target == LintModel::kNone) return {}; // said elsewhere
    if (name.suffix == VariableSuffix::Unknown)
        return "the variable " + std::string(variable.attribute) + " asks for something unknown";
    if (name.suffix != VariableSuffix::Entry) return {};
    if (model.Node(target).type == NodeType::Enumeration && HasEntry(model, target, name.entry)) return {};
    return "'" + std::string(variable.value) + "' has no entry '" + std::string(name.entry) + "'";
}

} // namespace

void CheckFormulas(const LintModel& model, Findings& findings) {
    for (int node = 0; node < model.Count(); ++node) {
        for (const NodeFormula& each : FormulasOf(model, node)) {
            if (!each.formula.IsValid())
                findings.Add(Rule::BadFormula, model.PlaceOf(node, *each.property), model.Name(node),
                             std::string(PropertyName(each.property->id)) + ": " + each.formula.Error());
            for (const PropertyRecord* const variable : each.mentioned) {
                const std::string fault = FaultOf(model, *variable);
                if (!fault.empty())
                    findings.Add(Rule::BadVariable, model.PlaceOf(node, *variable), model.Name(node), fault);
            }
        }
    }
}

} // namespace genapi
