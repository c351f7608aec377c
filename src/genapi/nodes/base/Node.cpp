#include "genapi/nodes/base/Node.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/access/Denial.h"
#include "genapi/nodes/base/Links.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/host/Operation.h"

namespace genapi {

Node::Node(const NodeSeed& seed) : m_Seed(seed) {}

Node::~Node() = default;

void Node::Bind(const BoundProperty& property) {
    m_Seed.pHost->Lock().AssertHeld();
    switch (property.record.id) {
    case PropertyId::pError:
        m_HasErrorLinks = true;
        break;
    case PropertyId::Visibility:
        m_Visibility.SetOwn(
            ParseKeywordAs<GenApi::EVisibility>(Keyword::Visibility, property.record.value).value_or(GenApi::Beginner));
        break;
    default:
        m_Rule.Bind(property);
        break;
    }
}

// --- access

GenApi::EAccessMode Node::Access() {
    const Descent descent(*this, Host());
    AccessMemory& modes = Host().Modes();
    if (const std::optional<GenApi::EAccessMode> known = modes.Find(Index())) return *known;
    AccessMemory::Evaluation evaluation(modes, Index());
    const GenApi::EAccessMode mode = ComputeAccess(modes);
    evaluation.Keep(mode);
    return mode;
}

GenApi::EAccessMode Node::ComputeAccess(AccessMemory& modes) {
    if (IsDefective()) return GenApi::NI;
    const uint32_t closedBefore = modes.ClosedPorts();
    const GenApi::EAccessMode target = TargetAccess();
    if (target == GenApi::NI) return GenApi::NI;
    // A closed device cannot be asked for predicates, so its port has the last word.
    if (target == GenApi::NA && modes.ClosedPorts() != closedBefore) return GenApi::NA;
    const bool isMissing = target == GenApi::NA && !Rule().IsImplemented();
    const GenApi::EAccessMode own = target == GenApi::NA ? GenApi::RW : Rule().Own();
    // Ports that only predicates asked for are not what the node lies behind.
    modes.ForgetClosedPortsSince(closedBefore);
    return isMissing ? GenApi::NI : GenApi::Combine(GenApi::Combine(own, Rule().Imposed()), target);
}

void Node::RequireReadable(const char* operation) {
    ThrowIfDefective(operation);
    if (!GenApi::IsReadable(Access())) ThrowDenied(*this, operation, Permission::Read);
}

void Node::RequireWritable(const char* operation) {
    ThrowIfDefective(operation);
    if (!GenApi::IsWritable(Access())) ThrowDenied(*this, operation, Permission::Write);
}

GenApi::EAccessMode Node::GetAccessMode() const {
    const GenApi::AutoLock lock(Host().Lock());
    return const_cast<Node*>(this)->Access();
}

void Node::ImposeAccessMode(GenApi::EAccessMode ImposedAccessMode) {
    const GenApi::AutoLock lock(m_Seed.pHost->Lock());
    m_Rule.Impose(ImposedAccessMode);
    Host().Modes().NextGeneration();
}

void Node::ImposeVisibility(GenApi::EVisibility ImposedVisibility) {
    const GenApi::AutoLock lock(m_Seed.pHost->Lock());
    m_Visibility.Impose(ImposedVisibility);
}

GenApi::EVisibility Node::GetVisibility() const {
    const GenApi::AutoLock lock(m_Seed.pHost->Lock());
    return m_Visibility.Get();
}

// --- changes

void Node::InvalidateNode() {
    ChangeFrame frame(Host());
    frame.Invalidate({Index()});
    frame.Finish();
}

GenApi::CallbackHandleType Node::RegisterCallback(GenApi::CNodeCallback* pCallback) {
    if (!pCallback) ThrowInvalidArgument(*this, "RegisterCallback", "The callback is null.");
    const GenApi::AutoLock lock(Host().Lock());
    Host().Callbacks().Add(Index(), this, pCallback);
    return reinterpret_cast<GenApi::CallbackHandleType>(pCallback);
}

bool Node::DeregisterCallback(GenApi::CallbackHandleType hCallback) {
    const GenApi::AutoLock lock(Host().Lock());
    return Host().Callbacks().Remove(Index(), reinterpret_cast<GenApi::CNodeCallback*>(hCallback));
}

// --- links

GenApi::ECachingMode Node::GetCachingMode() const {
    return CachingModeOf(*this);
}

bool Node::IsCachable() const {
    return CachingModeOf(*this) != GenApi::NoCache;
}

GenApi::EYesNo Node::IsAccessModeCacheable() const {
    return NeedsPort(*this) ? GenApi::No : GenApi::Yes;
}

int64_t Node::GetPollingTime() const {
    return PollingTimeOf(*this);
}

void Node::GetChildren(GenApi::NodeList_t& Children, GenApi::ELinkType LinkType) const {
    ListChildren(*this, LinkType, Children);
}

void Node::GetParents(GenApi::NodeList_t& Parents) const {
    ListParents(*this, Parents);
}

} // namespace genapi
