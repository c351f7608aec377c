#pragma once
// Which properties a type of node has, and what their values look like.

#include "genapi/description/NodeType.h"
#include "genapi/description/Property.h"

#include <string>

namespace genapi {

[[nodiscard]] bool HasProperty(NodeType type, PropertyId id);

// Links whose target has to exist for the node to be of use. A dangling one of the others is left out.
[[nodiscard]] bool IsVitalLink(PropertyId id);

// A malformed one makes the node unusable. Of the others, which concern presentation and polling, it is left out.
[[nodiscard]] bool IsVitalProperty(PropertyId id);

// Links over which the node hears of a change of the target.
[[nodiscard]] bool IsDependencyLink(PropertyId id);

// What is wrong with the value or the attribute; empty when nothing is.
[[nodiscard]] std::string CheckForm(NodeType type, const PropertyRecord& record);

} // namespace genapi
