#include "genapi/nodes/host/NodeHost.h"

#include "genapi/nodes/register/RegisterIndex.h"

namespace genapi {

NodeHost::NodeHost() : m_ReverseLinks(m_Nodes) {}
NodeHost::~NodeHost() = default;

void NodeHost::ResizeParts(std::size_t nodes) {
    const GenApi::AutoLock lock(m_Lock);
    m_Modes.Resize(nodes);
    m_Caches.Resize(nodes);
    m_Callbacks.Resize(nodes);
    m_Reach.Resize(nodes);
}

RegisterIndex& NodeHost::Registers() {
    m_Lock.AssertHeld();
    if (!m_pRegisters) m_pRegisters = std::make_unique<RegisterIndex>(m_Nodes);
    return *m_pRegisters;
}

void NodeHost::NoteMove(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to) {
    m_Lock.AssertHeld();
    if (m_pRegisters) m_pRegisters->Move(node, from, to);
}

void NodeHost::ReleaseCallbacks() {
    CallbackTable::Lists all;
    {
        const GenApi::AutoLock lock(m_Lock);
        all = m_Callbacks.TakeAll();
    }
    for (const auto& [node, list] : all) {
        for (const RegisteredCallback& callback : list)
            CallbackRegistry::Instance().Retire(callback.pCallback);
    }
}

} // namespace genapi
