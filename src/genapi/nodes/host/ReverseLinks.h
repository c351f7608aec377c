#pragma once
// Who names a node.

#include "genapi/description/Property.h"
#include "genapi/nodes/host/Graph.h"

#include <optional>
#include <vector>

namespace genapi {

class Node;

/// Each list has the nodes in the map's order, each once, and is made when it is first asked for: linear in links and
/// nodes. Guarded by the map's lock.
class ReverseLinks {
public:
    /// The nodes are borrowed, and complete when the first question comes.
    explicit ReverseLinks(const std::vector<Node*>& nodes) : m_Nodes(nodes) {}

    /// Who names a node as one that it reads, writes, lists or hears of.
    const DependencyGraph& Parents();
    /// Who names it as selected.
    const DependencyGraph& Selecting() { return NamedBy(m_Selecting, PropertyId::pSelected); }
    /// Who names it as selecting.
    const DependencyGraph& SelectedBy() { return NamedBy(m_SelectedBy, PropertyId::pSelecting); }

private:
    const DependencyGraph& NamedBy(std::optional<DependencyGraph>& links, PropertyId id);

    const std::vector<Node*>& m_Nodes;
    std::optional<DependencyGraph> m_Parents;
    std::optional<DependencyGraph> m_Selecting;
    std::optional<DependencyGraph> m_SelectedBy;
};

} // namespace genapi
