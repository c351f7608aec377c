#pragma once
// Who hears of a change in a map.

#include "genapi/nodes/host/Graph.h"

#include <vector>

namespace genapi {

/// Walks the links of a map with a mark, in flat arrays: closures are never kept, since real descriptions connect
/// nearly everything. The links are constant after Build; the rest is guarded by the map's lock.
class ChangeReach {
public:
    /// Also for nodes that come one by one.
    void Resize(std::size_t count) { m_Marks.resize(count); }
    /// As DependencyGraph's.
    void Add(NodeIndex source, NodeIndex dependent, bool isInvalidator) {
        m_Links.Add(source, dependent, isInvalidator);
    }
    void Build() { m_Links.Build(static_cast<NodeIndex>(m_Marks.size())); }

    /// All nodes that a change of the sources reaches, the sources first, each once. The list lives until the next
    /// call.
    const std::vector<NodeIndex>& Of(const std::vector<NodeIndex>& sources);
    /// Whether the author of a node wants it to be read again after it was written.
    bool RereadsItself(NodeIndex node);

private:
    void BeginWalk();
    void Meet(NodeIndex node) {
        if (m_Marks[node] == m_Mark) return;
        m_Marks[node] = m_Mark;
        m_Queue.push_back(node);
    }

    DependencyGraph m_Links;
    std::vector<uint32_t> m_Marks; ///< by node, of the last walk that met it
    uint32_t m_Mark = 0;
    std::vector<NodeIndex> m_Queue;
    std::vector<bool> m_RereadsItself; ///< by node, empty until it is asked for
};

} // namespace genapi
