#pragma once
// How an adapter's port leaves its node.

#include "genapi/nodes/PortNode.h"

namespace genapi {

// A port that another adapter has replaced leaves the newcomer alone; a foreign engine's node can only be cleared.
inline void DisconnectPort(GenApi::IPortConstruct& node, const GenApi::IPort& port) {
    if (PortNode* const pOwn = dynamic_cast<PortNode*>(&node)) return pOwn->Disconnect(&port);
    node.SetPortImpl(nullptr);
}

} // namespace genapi
