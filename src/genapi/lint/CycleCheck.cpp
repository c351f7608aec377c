#include "genapi/lint/Checks.h"
#include "genapi/lint/FormulaUse.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace genapi {

namespace {

using P = PropertyId;

// What of a node may need what of another one.
enum class Facet : uint8_t { Value, Limit, Access, Content };
constexpr int kFacets = 4;

// Which facets of which nodes are needed for which others. bound to a thread
class NeedGraph {
public:
    explicit NeedGraph(const LintModel& model)
        : m_Model(model), m_Edges(static_cast<std::size_t>(model.Count()) * kFacets) {
        for (m_Node = 0; m_Node < model.Count(); ++m_Node) {
            for (const PropertyRecord& property : model.Node(m_Node).properties)
                AddProperty(property);
            AddFormulas();
        }
    }

    [[nodiscard]] const std::vector<int>& From(int vertex) const { return m_Edges[static_cast<std::size_t>(vertex)]; }
    [[nodiscard]] int Count() const { return static_cast<int>(m_Edges.size()); }
    [[nodiscard]] static int NodeOf(int vertex) { return vertex / kFacets; }
    [[nodiscard]] static Facet FacetOf(int vertex) { return static_cast<Facet>(vertex % kFacets); }

private:
    static int Vertex(int node, Facet facet) { return node * kFacets + static_cast<int>(facet); }

    void Add(Facet from, std::string_view name, Facet to) {
        const int target = m_Model.Find(name);
        if (target != LintModel::kNone)
            m_Edges[static_cast<std::size_t>(Vertex(m_Node, from))].push_back(Vertex(target, to));
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
            if (!HasOwnLimits()) Add(Facet::Limit, name, Facet::Limit);
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
            Add(Facet::Limit, variable.value, Facet::Value);
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
    std::vector<std::vector<int>> m_Edges;
    int m_Node = 0;
};

// The strongly connected components, by Tarjan's method on a stack of its own. bound to a thread
class Components {
public:
    explicit Components(const NeedGraph& graph) : m_Graph(graph), m_States(static_cast<std::size_t>(graph.Count())) {
        for (int vertex = 0; vertex < graph.Count(); ++vertex) {
            if (At(vertex).order == 0) Visit(vertex);
        }
    }

    // Each with more than one vertex, or one that needs itself.
    [[nodiscard]] const std::vector<std::vector<int>>& Circles() const { return m_Circles; }

private:
    struct State {
        int order = 0; // of the visit, from 1
        int lowest = 0;
        std::size_t next = 0; // edge to look at
        bool isOpen = false;
    };

    State& At(int vertex) { return m_States[static_cast<std::size_t>(vertex)]; }

    void Enter(int vertex) {
        At(vertex).order = At(vertex).lowest = ++m_Order;
        At(vertex).isOpen = true;
        m_Open.push_back(vertex);
        m_Path.push_back(vertex);
    }

    void Visit(int start) {
        Enter(start);
        while (!m_Path.empty()) {
            const int vertex = m_Path.back();
            State& state = At(vertex);
            if (state.next < m_Graph.From(vertex).size()) {
                const int next = m_Graph.From(vertex)[state.next++];
                if (At(next).order == 0)
                    Enter(next);
                else if (At(next).isOpen)
                    state.lowest = std::min(state.lowest, At(next).order);
                continue;
            }
            m_Path.pop_back();
            if (!m_Path.empty()) At(m_Path.back()).lowest = std::min(At(m_Path.back()).lowest, state.lowest);
            if (state.lowest == state.order) Close(vertex);
        }
    }

    void Close(int vertex) {
        std::vector<int> members;
        do {
            members.push_back(m_Open.back());
            At(m_Open.back()).isOpen = false;
            m_Open.pop_back();
        } while (members.back() != vertex);
        const std::vector<int>& edges = m_Graph.From(vertex);
        const bool needsItself = std::find(edges.begin(), edges.end(), vertex) != edges.end();
        if (members.size() == 1 && !needsItself) return;
        std::sort(members.begin(), members.end());
        m_Circles.push_back(std::move(members));
    }

    const NeedGraph& m_Graph; // borrowed
    std::vector<State> m_States;
    std::vector<int> m_Open;
    std::vector<int> m_Path;
    std::vector<std::vector<int>> m_Circles;
    int m_Order = 0;
};

// A way through the members that comes back to where it started; each member has a successor among them.
std::vector<int> FindCircle(const NeedGraph& graph, const std::vector<int>& members) {
    const auto isMember = [&members](int next) { return std::binary_search(members.begin(), members.end(), next); };
    std::vector<int> way;
    std::unordered_map<int, std::size_t> stepOf;
    int at = members.front();
    while (stepOf.emplace(at, way.size()).second) {
        way.push_back(at);
        const std::vector<int>& edges = graph.From(at);
        at = *std::find_if(edges.begin(), edges.end(), isMember);
    }
    way.erase(way.begin(), way.begin() + static_cast<ptrdiff_t>(stepOf[at]));
    way.push_back(at);
    return way;
}

Rule RuleOf(const std::vector<int>& circle) {
    const auto has = [&circle](Facet facet) {
        return std::any_of(circle.begin(), circle.end(),
                           [facet](int vertex) { return NeedGraph::FacetOf(vertex) == facet; });
    };
    if (has(Facet::Content)) return Rule::CategoryCycle;
    if (has(Facet::Limit)) return Rule::LimitCycle;
    return has(Facet::Access) ? Rule::AccessCycle : Rule::ValueCycle;
}

std::string TextOf(const LintModel& model, const std::vector<int>& circle) {
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
    const Components components(graph);
    std::vector<std::vector<int>> circles;
    for (const std::vector<int>& members : components.Circles())
        circles.push_back(FindCircle(graph, members));
    // A circle of values is one of limits and access modes, too; what follows from it is not said again.
    std::unordered_set<int> known;
    for (const Rule rule : {Rule::ValueCycle, Rule::LimitCycle, Rule::AccessCycle, Rule::CategoryCycle}) {
        for (const std::vector<int>& circle : circles) {
            const int node = NeedGraph::NodeOf(circle.front());
            if (RuleOf(circle) != rule || known.count(node) != 0) continue;
            for (const int vertex : circle)
                known.insert(NeedGraph::NodeOf(vertex));
            findings.Add(rule, model.PlaceOf(node), model.Name(node), TextOf(model, circle));
        }
    }
}

} // namespace genapi
