// The access mode of a node and what restricts it.
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/host/Operation.h"

namespace genapi {

GenApi::EAccessMode Node::Access() {
    const Descent descent(*this, *m_pHost);
    AccessMemory& modes = m_pHost->Modes();
    if (const std::optional<GenApi::EAccessMode> known = modes.Find(m_Index)) return *known;
    AccessMemory::Evaluation evaluation(modes, m_Index);
    const GenApi::EAccessMode mode = ComputeAccess(modes);
    evaluation.Keep(mode);
    return mode;
}

GenApi::EAccessMode Node::ComputeAccess(AccessMemory& modes) {
    if (m_pDefect) return GenApi::NI;
    const uint32_t closedBefore = modes.ClosedPorts();
    const GenApi::EAccessMode target = TargetAccess();
    if (target == GenApi::NI) return GenApi::NI;
    // A closed device cannot be asked for predicates, so its port has the last word.
    if (target == GenApi::NA && modes.ClosedPorts() != closedBefore) return GenApi::NA;
    const bool isMissing = target == GenApi::NA && m_pIsImplemented && !m_pIsImplemented->ReadTruth();
    const GenApi::EAccessMode own = target == GenApi::NA ? GenApi::RW : OwnAccess();
    // Ports that only predicates asked for are not what the node lies behind.
    modes.ForgetClosedPortsSince(closedBefore);
    return isMissing ? GenApi::NI : GenApi::Combine(GenApi::Combine(own, ImposedAccess()), target);
}

GenApi::EAccessMode Node::OwnAccess() {
    if (m_pIsImplemented && !m_pIsImplemented->ReadTruth()) return GenApi::NI;
    if (m_pIsAvailable && !m_pIsAvailable->ReadTruth()) return GenApi::NA;
    if (m_pIsLocked && m_pIsLocked->ReadTruth()) return GenApi::RO;
    return GenApi::RW;
}

GenApi::EAccessMode Node::ImposedAccess() const {
    m_pHost->Lock().AssertHeld();
    return GenApi::Combine(m_ImposedByFile, m_ImposedByCode);
}

GenApi::EAccessMode Node::GetAccessMode() const {
    const GenApi::AutoLock lock(m_pHost->Lock());
    return const_cast<Node*>(this)->Access();
}

void Node::ImposeAccessMode(GenApi::EAccessMode ImposedAccessMode) {
    const GenApi::AutoLock lock(m_pHost->Lock());
    m_ImposedByCode = ImposedAccessMode;
    m_pHost->Modes().NextGeneration();
}

void Node::ImposeVisibility(GenApi::EVisibility ImposedVisibility) {
    const GenApi::AutoLock lock(m_pHost->Lock());
    m_ImposedVisibility = ImposedVisibility;
}

GenApi::EVisibility Node::GetVisibility() const {
    const GenApi::AutoLock lock(m_pHost->Lock());
    return GenApi::Combine(m_Visibility, m_ImposedVisibility);
}

void Node::CheckErrorNodes() {
    if (!m_HasErrorLinks) return;
    for (const PropertyRecord& record : m_Properties) {
        if (record.id != PropertyId::pError) continue;
        Node* const pError = m_pHost->NodeAt(record.target);
        if (!pError || pError->ReadInteger({false, true}) == 0) continue;
        const std::string symbolic = pError->ReadText({});
        Node* const pEntry = m_pHost->Find("EnumEntry_" + std::string(pError->Name()) + "_" + symbolic);
        const std::string description = pEntry ? pEntry->GetDescription().str() : std::string();
        ThrowRuntime(*this, "SetValue",
                     "The device reports " + symbolic + (description.empty() ? "" : ": ") + description);
    }
}

void Node::InvalidateNode() {
    ChangeFrame frame(*m_pHost);
    frame.Invalidate({m_Index});
    frame.Finish();
}

GenApi::CallbackHandleType Node::RegisterCallback(GenApi::CNodeCallback* pCallback) {
    if (!pCallback) ThrowInvalidArgument(*this, "RegisterCallback", "The callback is null.");
    const GenApi::AutoLock lock(m_pHost->Lock());
    m_pHost->Callbacks().Add(m_Index, this, pCallback);
    return reinterpret_cast<GenApi::CallbackHandleType>(pCallback);
}

bool Node::DeregisterCallback(GenApi::CallbackHandleType hCallback) {
    const GenApi::AutoLock lock(m_pHost->Lock());
    return m_pHost->Callbacks().Remove(m_Index, reinterpret_cast<GenApi::CNodeCallback*>(hCallback));
}

} // namespace genapi
