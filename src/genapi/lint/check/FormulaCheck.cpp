#include "genapi/lint/check/Checks.h"
#include "genapi/lint/check/FormulaUse.h"

#include <unordered_map>
#include <unordered_set>

namespace genapi {

namespace {

// The symbolic names of each enumeration that somebody asks for. Bound to a thread.
class EntryNames {
public:
    explicit EntryNames(const LintModel& model) : m_Model(model) {}

    bool Has(int enumeration, std::string_view symbolic) {
        const auto [found, isNew] = m_Names.try_emplace(enumeration);
        if (isNew) Collect(enumeration, found->second);
        return found->second.count(symbolic) != 0;
    }

private:
    using Names = std::unordered_set<std::string_view>;

    void Collect(int enumeration, Names& names) const {
        for (const PropertyRecord& property : m_Model.Node(enumeration).properties) {
            const int entry = property.id == PropertyId::pEnumEntry ? m_Model.Find(property.value) : LintModel::kNone;
            if (entry != LintModel::kNone) names.insert(m_Model.Value(entry, PropertyId::Symbolic));
        }
    }

    const LintModel& m_Model; // borrowed
    std::unordered_map<int, Names> m_Names;
};

std::string FaultOf(const LintModel& model, EntryNames& entries, const PropertyRecord& variable) {
    const VariableName name = ParseVariableName(variable.attribute);
    const int target = model.Find(variable.value);
    if (target == LintModel::kNone) return {}; // said elsewhere
    if (name.suffix == VariableSuffix::Unknown)
        return "the variable " + std::string(variable.attribute) + " asks for something unknown";
    if (name.suffix != VariableSuffix::Entry) return {};
    if (model.Node(target).type == NodeType::Enumeration && entries.Has(target, name.entry)) return {};
    return "'" + std::string(variable.value) + "' has no entry '" + std::string(name.entry) + "'";
}

} // namespace

void CheckFormulas(const LintModel& model, Findings& findings) {
    EntryNames entries(model);
    for (int node = 0; node < model.Count(); ++node) {
        for (const NodeFormula& each : FormulasOf(model, node)) {
            if (!each.formula.IsValid())
                findings.Add(Rule::BadFormula, model.PlaceOf(node, *each.property), model.Name(node),
                             std::string(PropertyName(each.property->id)) + ": " + each.formula.Error());
            for (const PropertyRecord* const variable : each.mentioned) {
                const std::string fault = FaultOf(model, entries, *variable);
                if (!fault.empty())
                    findings.Add(Rule::BadVariable, model.PlaceOf(node, *variable), model.Name(node), fault);
            }
        }
    }
}

} // namespace genapi
