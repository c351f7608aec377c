#include "genapi/nodes/access/Denial.h"

#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"

#include <Base/GCException.h>

#include <vector>

namespace genapi {

namespace {

bool Grants(GenApi::EAccessMode mode, Permission permission) {
    return permission == Permission::Read ? GenApi::IsReadable(mode) : GenApi::IsWritable(mode);
}

// A node whose mode cannot be told is not what the denial is about.
bool Hinders(Node& target, Permission permission) {
    try {
        return !Grants(target.Access(), permission);
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

// What the node passes the operation on to, and what it reads to find its way.
std::vector<Node*> TargetsOf(Node& node, Permission permission) {
    std::vector<Node*> targets;
    const auto add = [&targets](Node* pNode) {
        if (pNode) targets.push_back(pNode);
    };
    const bool isReadable = GenApi::IsReadable(node.Access());
    for (const PropertyRecord& record : node.Properties()) {
        const bool isCopy = record.id == PropertyId::pValueCopy && permission == Permission::Write;
        const bool isVariable = record.id == PropertyId::pVariable && node.MindsVariable(record.attribute);
        const bool isRead = isVariable || record.id == PropertyId::pIndex;
        if (isCopy || (isRead && !isReadable)) add(node.Host().NodeAt(record.target));
    }
    add(node.ValueTarget());
    return targets;
}

} // namespace

Node* FindFaulty(Node& start, Permission permission) {
    std::vector<bool> isMet(start.Host().Nodes().size(), false);
    std::vector<Node*> queue{&start};
    isMet[start.Index()] = true;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        Node& node = *queue[head];
        if (node.IsDefective() || !node.CompileError().empty()) return &node;
        for (Node* const pTarget : TargetsOf(node, permission)) {
            if (isMet[pTarget->Index()] || !Hinders(*pTarget, permission)) continue;
            isMet[pTarget->Index()] = true;
            queue.push_back(pTarget);
        }
    }
    return nullptr;
}

void ThrowDenied(Node& node, const char* operation, Permission permission) {
    if (Node* const pFaulty = FindFaulty(node, permission)) {
        pFaulty->ThrowIfDefective(operation);
        ThrowRuntime(*pFaulty, operation, "Formula error: " + pFaulty->CompileError());
    }
    const char* const text = permission == Permission::Read ? "' is not readable." : "' is not writable.";
    ThrowAccess(node, operation, "'" + std::string(node.Name()) + text);
}

} // namespace genapi
