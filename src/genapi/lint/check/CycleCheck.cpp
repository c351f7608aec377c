#include "genapi/lint/check/Checks.h"
#include "genapi/lint/check/FormulaUse.h"
#include "genapi/nodes/host/Components.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace genapi {

namespace {

using P = PropertyId;

// What of a node may need what of another one.
enum class Facet : uint8_t { Value, Limit, Access, Content };
constexpr uint32_t kFacets = 4;

// Which facets of which nodes are needed for which others. bound to a thread
class NeedGraph {
public:
    explicit NeedGraph(const LintModel& model)
        : m_Model(model), m_Edges(static_cast<std::size_t>(model.Count()) * kFacets) {
        for (m_Node = 0; m_Node < model.Count(); ++m_Node) {
            m_HasOwnLimits = HasOwnLimits();
            m_LimitsAreComputed = m_Model.Property(m_Node, P::pValue) != nullptr;
            for (const PropertyRecord& property : model.Node(m_Node).properties)
                AddProperty(property);
            AddFormulas();
        }
    }

    [[nodiscard]] const std::vector<uint32_t>& From(uint32_t vertex) const { return m_Edges[vertex]; }
    [[nodiscard]] uint32_t Count() const { return static_cast<uint32_t>(m_Edges.size()); }
    [[nodiscard]] std::size_t DegreeOf(uint32_t vertex) const { return m_Edges[vertex].size(); }
    [[nodiscard]] uint32_t TargetOf(uint32_t vertex, std::size_t edge) const { return m_Edges[vertex][edge]; }
    [[nodiscard]] static int NodeOf(uint32_t vertex) { return static_cast<int>(vertex / kFacets); }
    [[nodiscard]] static Facet FacetOf(uint32_t vertex) { return static_cast<Facet>(vertex % kFacets); }

private:
    static uint32_t Vertex(int node, Facet facet) {
        return static_cast<uint32_t>(node) * kFacets + static_cast<uint32_t>(facet);
    }

    void Add(Facet from, std::string_view name, Facet to) {
        const int target = m_Model.Find(name);
        if (target != LintModel::kNone) m_Edges[Vertex(m_Node, from)].push_back(Vertex(target, to));
    }

    [[nodiscard]] bool HasOwnLimits() const {
        const auto has = [this](P id) { return m_Model.Property(m_Node, id) != nullptr; };
        return (has(P::Min) || has(P::pMin)) && (has(P::Max) || has(P::pMax));
    }

    void AddProperty(const PropertyRecord& property) {
        const std::string_view name = property.value;
        switch (property.id) {
        case P::pValue:
        case P::pValueIndexed:
        case P::pValueDefault:
            Add(Facet::Value, name, Facet::Value);
            Add(Facet::Access, name, Facet::Access);
            if (!m_HasOwnLimits) Add(Facet::Limit, name, Facet::Limit);
            break;
        case P::pIndex:
            if (property.attributeKind == AttributeKind::pOffset) Add(Facet::Value, property.attribute, Facet::Value);
            Add(Facet::Value, name, Facet::Value);
            break;
        case P::pAddress:
        case P::pLength:
        case P::pChunkID:
            Add(Facet::Value, name, Facet::Value);
            break;
        case P::pMin:
        case P::pMax:
        case P::pInc:
            Add(Facet::Limit, name, Facet::Value);
            break;
        case P::pIsImplemented:
        case P::pIsAvailable:
        case P::pIsLocked:
            Add(Facet::Access, name, Facet::Value);
            break;
        case P::pFeature:
            Add(Facet::Content, name, Facet::Content);
            break;
        default:
            break;
        }
    }

    void AddFormulas() {
        for (const NodeFormula& formula : FormulasOf(m_Model, m_Node)) {
            if (formula.property->id == P::FormulaTo) continue; // only writing needs it
            for (const PropertyRecord* const variable : formula.mentioned)
                AddVariable(*variable);
        }
    }

    void AddVariable(const PropertyRecord& variable) {
        switch (ParseVariableName(variable.attribute).suffix) {
        case VariableSuffix::Value:
            Add(Facet::Value, variable.value, Facet::Value);
            if (m_LimitsAreComputed) Add(Facet::Limit, variable.value, Facet::Value);
            Add(Facet::Access, variable.value, Facet::Access);
            break;
        case VariableSuffix::Min:
        case VariableSuffix::Max:
        case VariableSuffix::Inc:
            Add(Facet::Value, variable.value, Facet::Limit);
            break;
        case VariableSuffix::AccessMode:
            Add(Facet::Value, variable.value, Facet::Access);
            break;
        default:
            break;
        }
    }

    const LintModel& m_Model; // borrowed
    std::vector<std::vector<uint32_t>> m_Edges;
    int m_Node = 0;
    bool m_HasOwnLimits = false;      // m_Node
    bool m_LimitsAreComputed = false; // m_Node's formula computes them as well: a converter, and no SwissKnife
};

// The components with more than one vertex, or one that needs itself; ascending.
std::vector<std::vector<uint32_t>> CirclesOf(const NeedGraph& graph) {
    std::vector<std::vector<uint32_t>> circles;
    Components<NeedGraph>(graph, graph.Count()).ForEach([&](const std::vector<uint32_t>& members) {
        const std::vector<uint32_t>& edges = graph.From(members.front());
        const bool needsItself = std::find(edges.begin(), edges.end(), members.front()) != edges.end();
        if (members.size() == 1 && !needsItself) return;
        circles.push_back(members);
        std::sort(circles.back().begin(), circles.back().end());
    });
    return circles;
}

// A way through the members that comes back to where it started; each member has a successor among them.
std::vector<uint32_t> FindCircle(const NeedGraph& graph, const std::vector<uint32_t>& members) {
    const auto isMember = [&members](uint32_t next) {
        return std::binary_search(members.begin(), members.end(), next);
    };
    std::vector<uint32_t> way;
    std::unordered_map<uint32_t, std::size_t> stepOf;
    uint32_t at = members.front();
    while (stepOf.emplace(at, way.size()).second) {
        way.push_back(at);
        const std::vector<uint32_t>& edges = graph.From(at);
        at = *std::find_if(edges.begin(), edges.end(), isMember);
    }
    way.erase(way.begin(), way.begin() + static_cast<ptrdiff_t>(stepOf[at]));
    way.push_back(at);
    return way;
}

Rule RuleOf(const std::vector<uint32_t>& circle) {
    const auto has = [&circle](Facet facet) {
        return std::any_of(circle.begin(), circle.end(),
                           [facet](uint32_t vertex) { return NeedGraph::FacetOf(vertex) == facet; });
    };
    if (has(Facet::Content)) return Rule::CategoryCycle;
    if (has(Facet::Limit)) return Rule::LimitCycle;
    return has(Facet::Access) ? Rule::AccessCycle : Rule::ValueCycle;
}

std::string TextOf(const LintModel& model, const std::vector<uint32_t>& circle) {
    constexpr std::size_t kMostNamed = 12;
    std::string text = "it needs itself: ";
    for (std::size_t i = 0; i < circle.size(); ++i) {
        if (i == kMostNamed) return text + " -> ...";
        if (i > 0) text += " -> ";
        text += model.Name(NeedGraph::NodeOf(circle[i]));
    }
    return text;
}

} // namespace

void CheckCycles(const LintModel& model, Findings& findings) {
    const NeedGraph graph(model);
    std::vector<std::vector<uint32_t>> circles;
    for (const std::vector<uint32_t>& members : CirclesOf(graph))
        circles.push_back(FindCircle(graph, members));
    // A circle of values is one of limits and access modes, too; what follows from it is not said again.
    std::unordered_set<int> known;
    for (const Rule rule : {Rule::ValueCycle, Rule::LimitCycle, Rule::AccessCycle, Rule::CategoryCycle}) {
        for (const std::vector<uint32_t>& circle : circles) {
            const int node = NeedGraph::NodeOf(circle.front());
            if (RuleOf(circle) != rule || known.count(node) != 0) continue;
            for (const uint32_t vertex : circle)
                known.insert(NeedGraph::NodeOf(vertex));
            findings.Add(rule, model.PlaceOf(node), model.Name(node), TextOf(model, circle));
        }
    }
}

} // namespace genapi
