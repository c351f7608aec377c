#pragma once
// Which callbacks are alive, registered and running, in the whole process.

#include <GenApi/NodeCallback.h>
#include <GenApi/Synch/Lock.h>

#include <cstdint>
#include <unordered_map>

namespace genapi {

/// A callback in the list of a node. The number tells it from a later one that lies at the same address.
struct RegisteredCallback {
    GenApi::CNodeCallback* pCallback = nullptr;
    uint64_t registration = 0;
};

/// Lets handles be checked that outlived their callback, and callbacks be retired while they run. thread-safe
class CallbackRegistry {
public:
    static CallbackRegistry& Instance();

    void Enter(GenApi::CNodeCallback* pCallback);
    void Leave(GenApi::CNodeCallback* pCallback);
    /// pOwner is the node that holds it from now on.
    RegisteredCallback Add(GenApi::CNodeCallback* pCallback, GenApi::INode* pOwner);
    /// No node holds it any longer.
    void Remove(GenApi::CNodeCallback* pCallback);
    /// False when there is no such callback; pOwner may come out null.
    bool FindOwner(GenApi::CNodeCallback* pCallback, GenApi::INode*& pOwner);
    /// Destroys it now, or at the end of its present call.
    void Retire(GenApi::CNodeCallback* pCallback);
    /// Calls it unless it was deregistered in the meantime. What it throws passes through.
    void Call(const RegisteredCallback& callback, GenApi::ECallbackType type);

private:
    struct Entry {
        GenApi::INode* pOwner = nullptr;
        uint64_t registration = 0;
        unsigned running = 0;
        bool isRetired = false;
    };
    bool Begin(const RegisteredCallback& callback);
    void End(GenApi::CNodeCallback* pCallback);

    GenApi::CLock m_Lock;
    uint64_t m_LastRegistration TAVIX_GUARDED_BY(m_Lock) = 0;
    std::unordered_map<GenApi::CNodeCallback*, Entry> m_Entries TAVIX_GUARDED_BY(m_Lock);
};

} // namespace genapi
