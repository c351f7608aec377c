#include "genapi/nodes/host/Graph.h"

#include "genapi/nodes/host/Components.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr NodeIndex kTargetMask = 0x7FFFFFFF; // more nodes than any description has

} // namespace

void DependencyGraph::Add(NodeIndex source, NodeIndex dependent, bool isInvalidator) {
    m_Pending.push_back({source, {dependent & kTargetMask, isInvalidator ? 1u : 0u}});
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

std::vector<bool> DependencyGraph::FindSelfInvalidating() const {
    const NodeIndex count = m_Offsets.empty() ? 0 : static_cast<NodeIndex>(m_Offsets.size() - 1);
    std::vector<bool> found(count, false);
    std::vector<NodeIndex> circleOf(count, kNoNode);
    NodeIndex circle = 0;
    // Within a component every way may go over every link of it.
    Components<DependencyGraph>(*this, count).ForEach([&](const std::vector<NodeIndex>& members) {
        for (const NodeIndex member : members)
            circleOf[member] = circle;
        const bool hasInvalidator = std::any_of(members.begin(), members.end(), [&](NodeIndex member) {
            const LinkRange links = DependentsOf(member);
            return std::any_of(links.begin(), links.end(),
                               [&](Link link) { return link.isInvalidator && circleOf[link.target] == circle; });
        });
        for (const NodeIndex member : members)
            found[member] = hasInvalidator;
        ++circle;
    });
    return found;
}

} // namespace genapi
