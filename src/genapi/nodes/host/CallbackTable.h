#pragma once
// The callbacks that wait at the nodes of a map.

#include "genapi/callback/CallbackRegistry.h"
#include "genapi/description/Property.h"

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace genapi {

/// By node, in order of registration. Guarded by the map's lock.
class CallbackTable {
public:
    using List = std::vector<RegisteredCallback>;
    using Lists = std::unordered_map<NodeIndex, List>;

    /// Also for nodes that come one by one.
    void Resize(std::size_t count) { m_HasCallbacks.resize(count); }

    /// `pOwner` is the node of that number.
    void Add(NodeIndex node, GenApi::INode* pOwner, GenApi::CNodeCallback* pCallback);
    /// False when it is not the node's.
    bool Remove(NodeIndex node, GenApi::CNodeCallback* pCallback);
    /// Null when there are none.
    const List* Of(NodeIndex node) const { return m_HasCallbacks[node] ? &m_Lists.at(node) : nullptr; }

    /// Takes out all of them, to be retired when the lock is released.
    Lists TakeAll();

private:
    Lists m_Lists;
    std::vector<bool> m_HasCallbacks; ///< by node
};

} // namespace genapi
