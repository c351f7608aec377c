#pragma once
// What a node type is, by the table.

#include "genapi/description/NodeType.h"
#include "genapi/description/PropertySet.h"

#include <GenApi/Types.h>

namespace genapi {

using NodeTypeFlags = uint8_t;

struct NodeTraits {
    static constexpr NodeTypeFlags kRegister = 1; ///< lies at an address behind a port
    static constexpr NodeTypeFlags kObsolete = 2; ///< of an older bus: found by name and never implemented

    GenApi::EInterfaceType face; ///< principal interface
    NodeTypeFlags flags;
    PropertySet properties;
};

[[nodiscard]] const NodeTraits& TraitsOf(NodeType type);

[[nodiscard]] inline bool IsRegister(NodeType type) {
    return (TraitsOf(type).flags & NodeTraits::kRegister) != 0;
}
[[nodiscard]] inline bool IsObsolete(NodeType type) {
    return (TraitsOf(type).flags & NodeTraits::kObsolete) != 0;
}
[[nodiscard]] inline bool HasProperty(NodeType type, PropertyId id) {
    return TraitsOf(type).properties.Has(id);
}

} // namespace genapi
