#pragma once
// How an adapter's port joins its node and leaves it.

#include "genapi/nodes/register/PortNode.h"

namespace genapi {

/// Nobody has to hear of a port without data: the nodes behind it drop their caches, callbacks wait for the data.
inline void ConnectPort(GenApi::IPortConstruct& node, GenApi::IPort& port) {
    if (PortNode* const pOwn = dynamic_cast<PortNode*>(&node)) return pOwn->ConnectQuietly(port);
    node.SetPortImpl(&port);
}

enum class PortData : uint8_t { None, Attached };

/// A port that another adapter has replaced leaves the newcomer alone; a foreign engine's node can only be cleared. The
/// end of a port without data is told to nobody.
inline void DisconnectPort(GenApi::IPortConstruct& node, const GenApi::IPort& port, PortData data) {
    PortNode* const pOwn = dynamic_cast<PortNode*>(&node);
    if (!pOwn) return node.SetPortImpl(nullptr);
    if (data == PortData::Attached) return pOwn->Disconnect(&port);
    pOwn->DisconnectQuietly(&port);
}

} // namespace genapi
