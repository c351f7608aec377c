// A change in three steps: the write notes what it passes, Commit drops the caches of all that hears of it and gathers
// their callbacks, Finish calls them around the release of the lock. docs/node-maps.md draws it.
#include "genapi/nodes/host/Operation.h"

#include "genapi/callback/CallbackRegistry.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"

#include <new>

namespace genapi {

ChangeFrame::ChangeFrame(NodeHost& host) : m_Host(host) {
    m_Host.Lock().Lock();
    m_pOuter = m_Host.m_pFrame;
    m_Host.m_pFrame = this;
}

ChangeFrame::~ChangeFrame() {
    Release();
}

void ChangeFrame::Release() {
    if (!m_IsLocked) return;
    m_IsLocked = false;
    m_Host.m_pFrame = m_pOuter;
    m_Host.Lock().Unlock();
}

void ChangeFrame::Invalidate(const std::vector<NodeIndex>& sources) {
    m_Host.Modes().NextGeneration();
    for (const NodeIndex node : m_Host.Reach().Of(sources)) {
        m_Host.Caches().SetInvalid(node);
        GatherCallbacks(node);
    }
}

void ChangeFrame::GatherCallbacks(NodeIndex node) {
    const CallbackTable::List* const pCallbacks = m_Host.Callbacks().Of(node);
    if (!pCallbacks) return;
    for (const RegisteredCallback& callback : *pCallbacks)
        Gather(callback);
}

void ChangeFrame::Gather(const RegisteredCallback& callback) {
    if (m_pOuter && m_pOuter->m_GathersAll) return m_pOuter->Gather(callback);
    const bool isInside = callback.pCallback->GetCallbackType() == GenApi::cbPostInsideLock;
    if (m_Gathered.insert(callback.registration).second) (isInside ? m_Inside : m_Outside).push_back(callback);
}

void ChangeFrame::Finish() {
    m_GathersAll = false; // what its callbacks change are changes of their own
    Callbacks inside;
    inside.swap(m_Inside);
    Call(inside, GenApi::cbPostInsideLock);
    if (m_pOuter) {
        m_pOuter->TakeOver(m_Outside);
        return;
    }
    Release();
    Call(m_Outside, GenApi::cbPostOutsideLock);
}

void ChangeFrame::TakeOver(const Callbacks& outside) {
    for (const RegisteredCallback& callback : outside) {
        if (!m_GathersOnce || m_Gathered.insert(callback.registration).second) m_Outside.push_back(callback);
    }
}

void ChangeFrame::Call(const Callbacks& callbacks, GenApi::ECallbackType type) {
    for (const RegisteredCallback& callback : callbacks)
        CallbackRegistry::Instance().Call(callback, type);
}

NodeHost& HostOf(const Node& node) {
    return node.Host();
}

void CheckErrors(Node& node) {
    if (!node.HasErrorLinks()) return;
    for (const PropertyRecord& record : node.Properties()) {
        if (record.id != PropertyId::pError) continue;
        Node* const pError = node.Host().NodeAt(record.target);
        if (!pError || pError->ReadInteger({false, true}) == 0) continue;
        const std::string symbolic = pError->ReadText({});
        Node* const pEntry = node.Host().Find("EnumEntry_" + std::string(pError->Name()) + "_" + symbolic);
        const std::string description = pEntry ? pEntry->GetDescription().str() : std::string();
        ThrowRuntime(node, "SetValue",
                     "The device reports " + symbolic + (description.empty() ? "" : ": ") + description);
    }
}

WriteOperation::WriteOperation(ChangeFrame& frame, const Node& target) : m_Host(frame.Host()) {
    m_Host.Lock().AssertHeld();
    m_pFrame = m_Host.m_pOperation ? nullptr : &frame;
    if (!IsOutermost()) return;
    m_Touched.push_back(target.Index());
    m_Host.m_pOperation = this; // last: nobody takes it back when this throws
}

WriteOperation::~WriteOperation() {
    m_Host.Lock().AssertHeld();
    if (!IsOutermost() || m_IsCommitted) return;
    m_Host.m_pOperation = nullptr;
    m_Host.Modes().NextGeneration();
    MarkTerminals(false);
    try {
        for (const NodeIndex node : m_Host.Reach().Of(m_Touched))
            m_Host.Caches().SetInvalid(node);
    } catch (const std::bad_alloc&) {
        m_Host.Caches().SetAllInvalid();
    }
}

void WriteOperation::Commit() {
    m_Host.Lock().AssertHeld();
    if (!IsOutermost()) return;
    m_Host.m_pOperation = nullptr;
    m_Host.Modes().NextGeneration();
    MarkTerminals(true);
    for (const NodeIndex node : m_Host.Reach().Of(m_Touched)) {
        // What was just written is known, unless its author wants it to be read again.
        if (!m_Host.Caches().IsTerminal(node) || m_Host.Reach().RereadsItself(node)) m_Host.Caches().SetInvalid(node);
        m_pFrame->GatherCallbacks(node);
    }
    MarkTerminals(false);
    m_IsCommitted = true;
}

void WriteOperation::MarkTerminals(bool areTerminals) {
    m_Host.Lock().AssertHeld();
    for (const NodeIndex node : m_Terminals)
        m_Host.Caches().SetTerminal(node, areTerminals);
}

void WriteOperation::NotePassed(NodeHost& host, NodeIndex node) {
    host.Lock().AssertHeld();
    if (host.m_pOperation) host.m_pOperation->m_Touched.push_back(node);
}

void WriteOperation::NoteTerminal(NodeHost& host, NodeIndex node) {
    host.Lock().AssertHeld();
    host.Modes().NextGeneration();
    if (!host.m_pOperation) return;
    host.m_pOperation->m_Touched.push_back(node);
    host.m_pOperation->m_Terminals.push_back(node);
}

} // namespace genapi
