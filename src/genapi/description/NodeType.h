#pragma once
// Node types as a node map knows them: the element names that remain after preprocessing.

#include "genapi/description/NodeTypeTable.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace genapi {

/// StructEntry and StructReg do not occur: an entry of a StructReg has become a MaskedIntReg.
enum class NodeType : uint8_t {
#define GENAPI_ENUMERATOR(name, kind, face, flags, properties) name,
    GENAPI_NODE_TYPES(GENAPI_ENUMERATOR)
#undef GENAPI_ENUMERATOR
};

inline constexpr std::string_view kNodeTypeNames[] = {
#define GENAPI_SPELLING(name, kind, face, flags, properties) #name,
    GENAPI_NODE_TYPES(GENAPI_SPELLING)
#undef GENAPI_SPELLING
};

inline constexpr std::size_t kNodeTypeCount = std::size(kNodeTypeNames);

[[nodiscard]] constexpr std::string_view NodeTypeName(NodeType type) {
    return kNodeTypeNames[static_cast<std::size_t>(type)];
}

/// Case-sensitive; "StructEntry" gives MaskedIntReg and "DcamLock" gives AdvFeatureLock. Nothing for other names.
[[nodiscard]] std::optional<NodeType> FindNodeType(std::string_view name) noexcept;

} // namespace genapi
