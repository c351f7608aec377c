#pragma once
// What the properties of a node have to look like.

#include "genapi/description/NodeTraits.h"

#include <string>

namespace genapi {

/// Links whose target has to exist for the node to be of use. A dangling one of the others is left out.
[[nodiscard]] constexpr bool IsVitalLink(PropertyId id) {
    return IsLink(id) && !HasFlag(id, kOptional);
}

/// A malformed one makes the node unusable. Of the others, which concern presentation and polling, it is left out.
[[nodiscard]] constexpr bool IsVitalProperty(PropertyId id) {
    return IsLink(id) || !HasFlag(id, kOptional);
}

/// Links over which the node hears of a change of the target.
[[nodiscard]] constexpr bool IsDependencyLink(PropertyId id) {
    return HasFlag(id, kTells);
}

/// Whether value and attribute look as they have to.
[[nodiscard]] bool HasForm(NodeType type, const PropertyRecord& record);

/// What is wrong with the value or the attribute; empty when nothing is.
[[nodiscard]] std::string CheckForm(NodeType type, const PropertyRecord& record);

} // namespace genapi
