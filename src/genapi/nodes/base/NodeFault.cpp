// What is wrong with the description of a node, and of those that it needs.
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"

#include <Base/GCException.h>

namespace genapi {

void Node::MarkAsDefective(DefectKind kind, std::string text) {
    if (!m_pDefect) m_pDefect = std::make_unique<NodeDefect>(NodeDefect{kind, std::move(text)});
}

void Node::ThrowDefect(const char* operation) const {
    if (m_pDefect->kind == DefectKind::Property) ThrowProperty(*this, operation, m_pDefect->text);
    ThrowRuntime(*this, operation, m_pDefect->text);
}

void Node::RequireReadable(const char* operation) {
    ThrowIfDefective(operation);
    if (!GenApi::IsReadable(Access())) ThrowDenied(operation, "is not readable.", Permission::Read);
}

void Node::RequireWritable(const char* operation) {
    ThrowIfDefective(operation);
    if (!GenApi::IsWritable(Access())) ThrowDenied(operation, "is not writable.", Permission::Write);
}

void Node::ThrowDenied(const char* operation, const char* text, Permission permission) {
    Node* const pFaulty = FindFaulty(permission);
    if (!pFaulty) ThrowAccess(*this, operation, "'" + std::string(m_Name) + "' " + text);
    pFaulty->ThrowIfDefective(operation);
    ThrowRuntime(*pFaulty, operation, "Formula error: " + pFaulty->CompileError());
}

bool Node::Grants(GenApi::EAccessMode mode, Permission permission) {
    return permission == Permission::Read ? GenApi::IsReadable(mode) : GenApi::IsWritable(mode);
}

// A node whose mode cannot be told is not what the denial is about.
bool Node::Hinders(Node& target, Permission permission) {
    try {
        return !Grants(target.Access(), permission);
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

// Follows what takes the access away, each node once.
Node* Node::FindFaulty(Permission permission) {
    std::vector<bool> isMet(m_pHost->Nodes().size(), false);
    std::vector<Node*> queue{this};
    isMet[m_Index] = true;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        Node& node = *queue[head];
        if (node.IsDefective() || !node.CompileError().empty()) return &node;
        for (Node* const pTarget : node.AccessTargets(permission)) {
            if (isMet[pTarget->Index()] || !Hinders(*pTarget, permission)) continue;
            isMet[pTarget->Index()] = true;
            queue.push_back(pTarget);
        }
    }
    return nullptr;
}

// What the node passes the operation on to, and what it reads to find its way.
std::vector<Node*> Node::AccessTargets(Permission permission) {
    std::vector<Node*> targets;
    const auto add = [&targets](Node* pNode) {
        if (pNode) targets.push_back(pNode);
    };
    const bool isReadable = GenApi::IsReadable(Access());
    for (const PropertyRecord& record : m_Properties) {
        const bool isCopy = record.id == PropertyId::pValueCopy && permission == Permission::Write;
        const bool isVariable = record.id == PropertyId::pVariable && MindsVariable(record.attribute);
        const bool isRead = isVariable || record.id == PropertyId::pIndex;
        if (isCopy || (isRead && !isReadable)) add(m_pHost->NodeAt(record.target));
    }
    add(ValueTarget());
    return targets;
}

} // namespace genapi
