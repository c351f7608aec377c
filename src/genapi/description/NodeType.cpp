#include "genapi/description/NodeType.h"

#include <algorithm>

namespace genapi {

std::optional<NodeType> FindNodeType(std::string_view name) noexcept {
    const auto* const found = std::find(std::begin(kNodeTypeNames), std::end(kNodeTypeNames), name);
    if (found != std::end(kNodeTypeNames)) return static_cast<NodeType>(found - std::begin(kNodeTypeNames));
    if (name == "StructEntry") return NodeType::MaskedIntReg;
    if (name == "DcamLock") return NodeType::AdvFeatureLock;
    return std::nullopt;
}

} // namespace genapi
