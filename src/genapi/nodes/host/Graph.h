#pragma once
// Which nodes are told when a node changes.

#include "genapi/description/Property.h"

#include <cstdint>
#include <vector>

namespace genapi {

/// The dependency links of a map in two flat arrays. Constant after Build, re-entrant.
class DependencyGraph {
public:
    /// Adds a link: `dependent` drops what it knows when `source` changes.
    void Add(NodeIndex source, NodeIndex dependent, bool isInvalidator);
    /// Sorts the links by source. Linear in links and nodes.
    void Build(NodeIndex nodeCount);

    struct Link {
        NodeIndex target : 31;
        NodeIndex isInvalidator : 1;
    };
    struct LinkRange {
        const Link* first;
        const Link* last;
        const Link* begin() const { return first; }
        const Link* end() const { return last; }
    };
    LinkRange DependentsOf(NodeIndex source) const;

    /// Of each node, whether it reaches itself over links of which at least one is an invalidator: its author wants it
    /// to be read again after it was written. Linear in links and nodes.
    std::vector<bool> FindSelfInvalidating() const;

    /// As Components wants it.
    std::size_t DegreeOf(NodeIndex source) const { return m_Offsets[source + 1] - m_Offsets[source]; }
    NodeIndex TargetOf(NodeIndex source, std::size_t link) const { return m_Links[m_Offsets[source] + link].target; }

private:
    struct Edge {
        NodeIndex source;
        Link link;
    };
    std::vector<Edge> m_Pending; ///< empty after Build
    std::vector<uint32_t> m_Offsets;
    std::vector<Link> m_Links;
};

} // namespace genapi
