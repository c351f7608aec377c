#pragma once
// The lock of the map that a node belongs to.

#include <GenApi/INodeMap.h>
#include <GenApi/Synch/Lock.h>

namespace genapi {

/// Holds it for the length of a scope; nothing for no node. bound to a thread
class MapLock {
public:
    explicit MapLock(const GenApi::INode* pNode) TAVIX_NO_THREAD_SAFETY_ANALYSIS : m_pLock(LockOf(pNode)) {
        if (m_pLock) m_pLock->Lock();
    }
    ~MapLock() TAVIX_NO_THREAD_SAFETY_ANALYSIS {
        if (m_pLock) m_pLock->Unlock();
    }
    MapLock(const MapLock&) = delete;
    MapLock& operator=(const MapLock&) = delete;

private:
    static GenApi::CLock* LockOf(const GenApi::INode* pNode) {
        GenApi::INodeMap* const pMap = pNode ? pNode->GetNodeMap() : nullptr;
        return pMap ? &pMap->GetLock() : nullptr;
    }

    GenApi::CLock* m_pLock;
};

} // namespace genapi
