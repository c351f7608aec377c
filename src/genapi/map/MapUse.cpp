// What a finished map does as a whole: invalidation, polling, ports, formulas.
#include "genapi/map/Map.h"
#include "genapi/nodes/CommandNode.h"
#include "genapi/nodes/EnumerationNode.h"
#include "genapi/nodes/host/Operation.h"
#include "genapi/nodes/register/PortNode.h"

#include <exception>
#include <limits>

namespace genapi {

void Map::InvalidateAll() {
    ChangeFrame frame(*this);
    Modes().NextGeneration();
    for (const Node* const pNode : m_Nodes) {
        Caches().SetInvalid(pNode->Index());
        frame.GatherCallbacks(pNode->Index());
    }
    frame.Finish();
}

bool Map::Connect(GenApi::IPort* pPort, std::string_view portName) {
    PortNode* const pNode = dynamic_cast<PortNode*>(Find(portName));
    if (!pNode) return false;
    pNode->SetPortImpl(pPort);
    return true;
}

bool Map::IsDue(Polled& polled, int64_t elapsed) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    polled.elapsed = elapsed > kMax - polled.elapsed ? kMax : polled.elapsed + elapsed;
    if (polled.elapsed < polled.period) return false;
    // While it is blocked the time goes on, so that the node is due as soon as it is released.
    Node* const pBlock = polled.pNode->LinkedNode(PropertyId::pBlockPolling);
    if (pBlock && pBlock->ReadTruth()) return false;
    polled.elapsed = 0;
    return true;
}

void Map::PollNode(ChangeFrame& frame, Node& node, std::vector<NodeIndex>& changed) {
    if (node.Type() == NodeType::Command) {
        CommandNode& command = dynamic_cast<CommandNode&>(node);
        if (command.IsWaiting()) command.CheckDone(frame, /*verify=*/false);
        return;
    }
    EnumerationNode* const pEnumeration =
        node.Type() == NodeType::Enumeration ? dynamic_cast<EnumerationNode*>(&node) : nullptr;
    if (pEnumeration && pEnumeration->HasSelfClearingEntries()) {
        if (!pEnumeration->AwaitsClearing()) return;
        pEnumeration->ReadInteger({/*verify=*/false, /*ignoreCache=*/true});
        if (pEnumeration->AwaitsClearing()) return;
    }
    changed.push_back(node.Index());
}

void Map::Poll(int64_t elapsed) {
    ChangeFrame frame(*this);
    Lock().AssertHeld();
    std::vector<NodeIndex> changed;
    std::exception_ptr pFirstFailure;
    for (Polled& polled : m_Polled) {
        // One node that cannot be read must not keep the others from their time.
        try {
            if (IsDue(polled, elapsed > 0 ? elapsed : 0)) PollNode(frame, *polled.pNode, changed);
        } catch (...) {
            if (!pFirstFailure) pFirstFailure = std::current_exception();
        }
    }
    if (!changed.empty()) frame.Invalidate(changed);
    frame.Finish();
    if (pFirstFailure) std::rethrow_exception(pFirstFailure);
}

std::vector<std::string> Map::CheckFormulas() {
    const GenApi::AutoLock lock(Lock());
    std::vector<std::string> failures;
    for (Node* const pNode : m_Nodes) {
        const std::string error = pNode->IsDefective() ? std::string() : pNode->CompileError();
        if (!error.empty()) failures.push_back(std::string(pNode->Name()) + ": " + error);
    }
    return failures;
}

} // namespace genapi
