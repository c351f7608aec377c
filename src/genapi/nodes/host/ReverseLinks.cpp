#include "genapi/nodes/host/ReverseLinks.h"

#include "genapi/nodes/base/Node.h"

namespace genapi {

DependencyGraph MakeReverseLinks(const std::vector<Node*>& nodes, const std::bitset<kPropertyCount>& properties) {
    DependencyGraph links;
    std::vector<NodeIndex> lastNamedBy(nodes.size(), kNoNode);
    for (const Node* const pNode : nodes) {
        const NodeIndex index = pNode->Index();
        const auto add = [&](const Node* pTarget) {
            if (!pTarget || lastNamedBy[pTarget->Index()] == index) return;
            lastNamedBy[pTarget->Index()] = index;
            links.Add(pTarget->Index(), index, /*isInvalidator=*/false);
        };
        for (const PropertyRecord& record : pNode->Properties()) {
            if (!properties.test(static_cast<std::size_t>(record.id))) continue;
            add(pNode->Host().NodeAt(record.target));
            if (record.attributeKind == AttributeKind::pOffset) add(pNode->Host().Find(record.attribute));
        }
    }
    links.Build(static_cast<NodeIndex>(nodes.size()));
    return links;
}

} // namespace genapi
