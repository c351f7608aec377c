#pragma once
// Many accesses of a node map as one.

#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/Operation.h"

#include <GenApi/INodeMap.h>

#include <optional>

namespace genapi {

/// Keeps a map for one thread. Inside-lock callbacks run as the accesses cause them; outside-lock ones wait for Finish,
/// which releases the map and calls each of them once. A map of a foreign engine is not kept, since its callbacks would
/// run under the lock. bound to a thread
class MapHold {
public:
    explicit MapHold(const GenApi::INodeMap& map) {
        GenApi::NodeList_t nodes;
        map.GetNodes(nodes);
        Node* const pNode = nodes.empty() ? nullptr : dynamic_cast<Node*>(nodes.front());
        if (!pNode) return;
        m_Frame.emplace(pNode->Host());
        m_Frame->GatherOnce();
    }
    void Finish() {
        if (m_Frame) m_Frame->Finish();
    }

private:
    std::optional<ChangeFrame> m_Frame;
};

} // namespace genapi
