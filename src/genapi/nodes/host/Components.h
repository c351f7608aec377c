#pragma once
// The circles of a graph.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace genapi {

/// Finds the strongly connected components of a graph by Tarjan's method, on a stack of its own. The graph tells
/// `DegreeOf(vertex)` and `TargetOf(vertex, edge)`. Linear in vertices and edges. Bound to a thread.
template<class Graph>
class Components {
public:
    Components(const Graph& graph, uint32_t count) : m_Graph(graph), m_States(count) {}

    /// Calls visit(members) for each component, each vertex being in one.
    template<class Visit>
    void ForEach(Visit visit) {
        for (uint32_t vertex = 0; vertex < m_States.size(); ++vertex) {
            if (m_States[vertex].order == 0) Walk(vertex, visit);
        }
    }

private:
    struct State {
        uint32_t order = 0; ///< of the visit, from 1
        uint32_t lowest = 0;
        uint32_t next = 0; ///< edge to look at
        bool isOpen = false;
    };

    void Enter(uint32_t vertex) {
        m_States[vertex].order = m_States[vertex].lowest = ++m_Order;
        m_States[vertex].isOpen = true;
        m_Open.push_back(vertex);
        m_Path.push_back(vertex);
    }

    void Lower(uint32_t vertex, uint32_t order) { m_States[vertex].lowest = std::min(m_States[vertex].lowest, order); }

    template<class Visit>
    void Walk(uint32_t start, Visit& visit) {
        Enter(start);
        while (!m_Path.empty()) {
            const uint32_t vertex = m_Path.back();
            if (m_States[vertex].next < m_Graph.DegreeOf(vertex)) {
                const uint32_t target = m_Graph.TargetOf(vertex, m_States[vertex].next++);
                if (m_States[target].order == 0)
                    Enter(target);
                else if (m_States[target].isOpen)
                    Lower(vertex, m_States[target].order);
                continue;
            }
            m_Path.pop_back();
            if (!m_Path.empty()) Lower(m_Path.back(), m_States[vertex].lowest);
            if (m_States[vertex].lowest == m_States[vertex].order) Close(vertex, visit);
        }
    }

    template<class Visit>
    void Close(uint32_t vertex, Visit& visit) {
        const auto first = std::find(m_Open.rbegin(), m_Open.rend(), vertex).base() - 1;
        const std::vector<uint32_t> members(first, m_Open.end());
        m_Open.erase(first, m_Open.end());
        for (const uint32_t member : members)
            m_States[member].isOpen = false;
        visit(members);
    }

    const Graph& m_Graph; ///< borrowed
    std::vector<State> m_States;
    std::vector<uint32_t> m_Open;
    std::vector<uint32_t> m_Path;
    uint32_t m_Order = 0;
};

} // namespace genapi
