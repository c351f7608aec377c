#include "genapi/callback/CallbackRegistry.h"

namespace genapi {

CallbackRegistry& CallbackRegistry::Instance() {
    // Never destroyed: node maps may live in static objects.
    static CallbackRegistry* const pInstance = new CallbackRegistry;
    return *pInstance;
}

void CallbackRegistry::Enter(GenApi::CNodeCallback* pCallback) {
    const GenApi::AutoLock lock(m_Lock);
    m_Entries.emplace(pCallback, Entry());
}

void CallbackRegistry::Leave(GenApi::CNodeCallback* pCallback) {
    const GenApi::AutoLock lock(m_Lock);
    m_Entries.erase(pCallback);
}

RegisteredCallback CallbackRegistry::Add(GenApi::CNodeCallback* pCallback, GenApi::INode* pOwner) {
    const GenApi::AutoLock lock(m_Lock);
    Entry& entry = m_Entries[pCallback];
    if (!entry.pOwner) entry.registration = ++m_LastRegistration; // one that two nodes hold is still one
    entry.pOwner = pOwner;
    return {pCallback, entry.registration};
}

void CallbackRegistry::Remove(GenApi::CNodeCallback* pCallback) {
    const GenApi::AutoLock lock(m_Lock);
    const auto found = m_Entries.find(pCallback);
    if (found != m_Entries.end()) found->second.pOwner = nullptr;
}

bool CallbackRegistry::FindOwner(GenApi::CNodeCallback* pCallback, GenApi::INode*& pOwner) {
    const GenApi::AutoLock lock(m_Lock);
    const auto found = m_Entries.find(pCallback);
    if (found == m_Entries.end() || found->second.isRetired) return false;
    pOwner = found->second.pOwner;
    return true;
}

void CallbackRegistry::Retire(GenApi::CNodeCallback* pCallback) {
    {
        const GenApi::AutoLock lock(m_Lock);
        const auto found = m_Entries.find(pCallback);
        if (found == m_Entries.end() || found->second.isRetired) return;
        found->second.isRetired = true;
        found->second.pOwner = nullptr;
        if (found->second.running > 0) return;
    }
    pCallback->Destroy();
}

void CallbackRegistry::Call(const RegisteredCallback& callback, GenApi::ECallbackType type) {
    if (!Begin(callback)) return;
    struct Guard {
        CallbackRegistry& registry;
        GenApi::CNodeCallback* pCallback;
        ~Guard() { registry.End(pCallback); }
    } guard{*this, callback.pCallback};
    (*callback.pCallback)(type);
}

bool CallbackRegistry::Begin(const RegisteredCallback& callback) {
    const GenApi::AutoLock lock(m_Lock);
    const auto found = m_Entries.find(callback.pCallback);
    if (found == m_Entries.end() || !found->second.pOwner) return false;
    if (found->second.registration != callback.registration) return false;
    ++found->second.running;
    return true;
}

void CallbackRegistry::End(GenApi::CNodeCallback* pCallback) {
    {
        const GenApi::AutoLock lock(m_Lock);
        const auto found = m_Entries.find(pCallback);
        if (found == m_Entries.end()) return;
        if (--found->second.running > 0 || !found->second.isRetired) return;
    }
    pCallback->Destroy();
}

} // namespace genapi
