#include "genapi/nodes/Graph.h"

namespace genapi {

void DependencyGraph::Add(NodeIndex source, NodeIndex dependent, bool isInvalidator) {
    m_Pending.push_back({source, {dependent, isInvalidator ? 1u : 0u}});
}

void DependencyGraph::Build(NodeIndex nodeCount) {
    m_Offsets.assign(nodeCount + 1, 0);
    for (const Edge& edge : m_Pending)
        ++m_Offsets[edge.source + 1];
    for (NodeIndex i = 0; i < nodeCount; ++i)
        m_Offsets[i + 1] += m_Offsets[i];
    m_Links.resize(m_Pending.size());
    std::vector<uint32_t> next(m_Offsets.begin(), m_Offsets.end() - 1);
    for (const Edge& edge : m_Pending)
        m_Links[next[edge.source]++] = edge.link;
    m_Pending.clear();
    m_Pending.shrink_to_fit();
}

DependencyGraph::LinkRange DependencyGraph::DependentsOf(NodeIndex source) const {
    if (source + 1 >= m_Offsets.size()) return {nullptr, nullptr};
    return {m_Links.data() + m_Offsets[source], m_Links.data() + m_Offsets[source + 1]};
}

bool DependencyGraph::ReachesItselfThroughInvalidator(NodeIndex node) const {
    // A node is visited at most twice: before and after an invalidator was met on the way.
    std::vector<uint8_t> visited(m_Offsets.size() * 2, 0);
    std::vector<uint32_t> queue{node * 2};
    for (std::size_t head = 0; head < queue.size(); ++head) {
        const bool met = queue[head] & 1u;
        for (const Link link : DependentsOf(queue[head] / 2)) {
            const uint32_t next = link.target * 2 + (met || link.isInvalidator ? 1u : 0u);
            if (link.target == node && (next & 1u)) return true;
            if (visited[next]) continue;
            visited[next] = 1;
            queue.push_back(next);
        }
    }
    return false;
}

} // namespace genapi
