#include "genapi/nodes/host/CallbackTable.h"

#include <algorithm>
#include <utility>

namespace genapi {

void CallbackTable::Add(NodeIndex node, GenApi::INode* pOwner, GenApi::CNodeCallback* pCallback) {
    m_Lists[node].push_back(CallbackRegistry::Instance().Add(pCallback, pOwner));
    m_HasCallbacks[node] = true;
}

bool CallbackTable::Remove(NodeIndex node, GenApi::CNodeCallback* pCallback) {
    const auto found = m_Lists.find(node);
    if (found == m_Lists.end()) return false;
    List& list = found->second;
    const auto isIt = [pCallback](const RegisteredCallback& other) { return other.pCallback == pCallback; };
    const auto position = std::find_if(list.begin(), list.end(), isIt);
    if (position == list.end()) return false;
    list.erase(position);
    CallbackRegistry::Instance().Remove(pCallback);
    if (list.empty()) {
        m_Lists.erase(found);
        m_HasCallbacks[node] = false;
    }
    return true;
}

CallbackTable::Lists CallbackTable::TakeAll() {
    std::fill(m_HasCallbacks.begin(), m_HasCallbacks.end(), false);
    return std::exchange(m_Lists, Lists());
}

} // namespace genapi
