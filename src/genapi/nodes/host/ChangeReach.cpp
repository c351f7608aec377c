#include "genapi/nodes/host/ChangeReach.h"

#include <algorithm>

namespace genapi {

void ChangeReach::BeginWalk() {
    m_Queue.clear();
    if (++m_Mark != 0) return;
    std::fill(m_Marks.begin(), m_Marks.end(), 0);
    m_Mark = 1;
}

const std::vector<NodeIndex>& ChangeReach::Of(const std::vector<NodeIndex>& sources) {
    BeginWalk();
    for (const NodeIndex source : sources)
        Meet(source);
    for (std::size_t head = 0; head < m_Queue.size(); ++head) {
        for (const DependencyGraph::Link link : m_Links.DependentsOf(m_Queue[head]))
            Meet(link.target);
    }
    return m_Queue;
}

bool ChangeReach::RereadsItself(NodeIndex node) {
    if (m_RereadsItself.empty()) m_RereadsItself = m_Links.FindSelfInvalidating();
    return m_RereadsItself[node];
}

} // namespace genapi
