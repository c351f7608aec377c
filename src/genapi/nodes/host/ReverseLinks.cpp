#include "genapi/nodes/host/ReverseLinks.h"

#include "genapi/nodes/host/LinkVisit.h"

namespace genapi {

namespace {

template<class Choice>
DependencyGraph Reverse(const std::vector<Node*>& nodes, Choice isMeant) {
    DependencyGraph links;
    std::vector<NodeIndex> lastNamedBy(nodes.size(), kNoNode);
    for (const Node* const pNode : nodes) {
        const NodeIndex index = pNode->Index();
        ForEachLink(*pNode, isMeant, [&](const Node& target) {
            if (lastNamedBy[target.Index()] == index) return;
            lastNamedBy[target.Index()] = index;
            links.Add(target.Index(), index, /*isInvalidator=*/false);
        });
    }
    links.Build(static_cast<NodeIndex>(nodes.size()));
    return links;
}

} // namespace

const DependencyGraph& ReverseLinks::Parents() {
    if (!m_Parents) {
        m_Parents = Reverse(m_Nodes, [](PropertyId id) {
            return IsReading(id) || IsWriting(id) || IsListing(id) || id == PropertyId::pInvalidator;
        });
    }
    return *m_Parents;
}

const DependencyGraph& ReverseLinks::NamedBy(std::optional<DependencyGraph>& links, PropertyId id) {
    if (!links) links = Reverse(m_Nodes, [id](PropertyId other) { return other == id; });
    return *links;
}

} // namespace genapi
