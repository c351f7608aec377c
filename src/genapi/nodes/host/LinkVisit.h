#pragma once
// The links of a node by what they are for.

#include "genapi/nodes/base/Node.h"

namespace genapi {

constexpr bool IsGivingValue(PropertyId id) {
    return HasFlag(id, kGivesValue);
}
constexpr bool IsWriting(PropertyId id) {
    return HasFlag(id, kWrites);
}
constexpr bool IsReading(PropertyId id) {
    return HasFlag(id, kReads);
}
constexpr bool IsListing(PropertyId id) {
    return id == PropertyId::pFeature || id == PropertyId::pEnumEntry;
}

/// Calls visit(target) for each link of the chosen properties, as often as a target is named.
template<class Choice, class Visitor>
void ForEachLink(const Node& node, Choice isMeant, Visitor visit) {
    const auto meet = [&visit](Node* pNode) {
        if (pNode) visit(*pNode);
    };
    for (const PropertyRecord& record : node.Properties()) {
        if (!isMeant(record.id)) continue;
        meet(node.Host().NodeAt(record.target));
        if (record.attributeKind == AttributeKind::pOffset) meet(node.Host().Find(record.attribute));
    }
}

} // namespace genapi
