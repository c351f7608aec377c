#include "genapi/lint/DependentSet.h"

#include "genapi/nodes/base/PropertyRules.h"

#include <unordered_set>

namespace genapi {

Dependents::Dependents(const LintModel& model, Spread spread)
    : m_Links(static_cast<std::size_t>(model.Count())), m_IsMet(m_Links.size()) {
    for (int node = 0; node < model.Count(); ++node) {
        const auto add = [&](std::string_view name) {
            const int source = model.Find(name);
            if (source != LintModel::kNone) m_Links[static_cast<std::size_t>(source)].push_back(node);
        };
        for (const PropertyRecord& property : model.Node(node).properties) {
            if (!HasProperty(model.Node(node).type, property.id)) continue;
            if (spread == Spread::Any ? IsDependencyLink(property.id) : HasFlag(property.id, kGivesValue))
                add(property.value);
            if (property.attributeKind == AttributeKind::pOffset) add(property.attribute);
        }
    }
}

const std::vector<bool>& Dependents::Of(const std::vector<int>& sources) {
    if (sources == m_Sources) return m_IsMet;
    m_Sources = sources;
    m_IsMet.assign(m_Links.size(), false);
    m_Steps += m_Links.size() / 64;
    std::vector<int> waiting = sources;
    for (const int source : sources)
        m_IsMet[static_cast<std::size_t>(source)] = true;
    while (!waiting.empty()) {
        const int node = waiting.back();
        waiting.pop_back();
        const std::vector<int>& links = m_Links[static_cast<std::size_t>(node)];
        m_Steps += links.size() + 1;
        for (const int next : links) {
            if (m_IsMet[static_cast<std::size_t>(next)]) continue;
            m_IsMet[static_cast<std::size_t>(next)] = true;
            waiting.push_back(next);
        }
    }
    return m_IsMet;
}

std::vector<int> SourcesOf(const LintModel& model, int node) {
    std::vector<int> met{node};
    std::unordered_set<int> marks{node};
    for (std::size_t head = 0; head < met.size(); ++head) {
        if (model.IsRegister(met[head])) continue;
        for (const PropertyRecord& property : model.Node(met[head]).properties) {
            const int next = HasFlag(property.id, kGivesValue) ? model.Find(property.value) : LintModel::kNone;
            if (next != LintModel::kNone && marks.insert(next).second) met.push_back(next);
        }
    }
    return met;
}

bool KeepsOldValue(const LintModel& model, int registerNode) {
    if (!model.IsRegister(registerNode) || !model.IsOnDevice(registerNode)) return false;
    if (model.Value(registerNode, PropertyId::Cachable) == "NoCache") return false;
    if (model.Value(registerNode, PropertyId::AccessMode) == "WO") return false;
    return model.Integer(registerNode, PropertyId::PollingTime).value_or(0) <= 0;
}

} // namespace genapi
