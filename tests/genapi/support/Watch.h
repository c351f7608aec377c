#pragma once
// Who was told, and whether the map was free then.

#include <GenApi/GenApi.h>

#include <thread>

namespace genapi_test {

// Whether another thread could take the map's lock now.
inline bool IsLockFree(const GenApi::INodeMap& map) {
    bool isFree = false;
    std::thread([&] {
        if (!map.GetLock().TryLock()) return;
        isFree = true;
        map.GetLock().Unlock();
    }).join();
    return isFree;
}

// Counts the calls of one node and takes itself off in the end. bound to a thread
class Watch {
public:
    explicit Watch(GenApi::INode& node, GenApi::ECallbackType type = GenApi::cbPostInsideLock)
        : m_Handle(GenApi::Register(&node, *this, &Watch::OnChange, type)) {}
    ~Watch() { GenApi::Deregister(m_Handle); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    int calls = 0;

private:
    void OnChange(GenApi::INode*) { ++calls; }
    GenApi::CallbackHandleType m_Handle;
};

} // namespace genapi_test
