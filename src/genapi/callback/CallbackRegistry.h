#pragma once
// Which callbacks are alive, registered and running, in the whole process.

#include <GenApi/NodeCallback.h>

#include <mutex>
#include <unordered_map>

namespace genapi {

// Lets handles be checked that outlived their callback, and callbacks be retired while they run. thread-safe
class CallbackRegistry {
public:
    static CallbackRegistry& Instance();

    void Enter(GenApi::CNodeCallback* pCallback);
    void Leave(GenApi::CNodeCallback* pCallback);
    // pOwner is the node that holds it; null when it is held no longer.
    void SetOwner(GenApi::CNodeCallback* pCallback, GenApi::INode* pOwner);
    // False when there is no such callback; pOwner may come out null.
    bool FindOwner(GenApi::CNodeCallback* pCallback, GenApi::INode*& pOwner);
    // Destroys it now, or at the end of its present call.
    void Retire(GenApi::CNodeCallback* pCallback);
    // Calls it unless it was deregistered in the meantime. What it throws passes through.
    void Call(GenApi::CNodeCallback* pCallback, GenApi::ECallbackType type);

private:
    struct Entry {
        GenApi::INode* pOwner = nullptr;
        unsigned running = 0;
        bool isRetired = false;
    };
    bool Begin(GenApi::CNodeCallback* pCallback);
    void End(GenApi::CNodeCallback* pCallback);

    std::mutex m_Lock;
    std::unordered_map<GenApi::CNodeCallback*, Entry> m_Entries; // guarded by m_Lock
};

} // namespace genapi
