#include "genapi/nodes/CommandNode.h"

#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"

namespace genapi {

void CommandNode::Bind(const BoundProperty& property) {
    switch (property.record.id) {
    case PropertyId::CommandValue:
        m_CommandValue = ParseInteger(property.record.value).value_or(1);
        m_HasCommandValue = true;
        break;
    case PropertyId::pCommandValue:
        m_pCommandValue = property.pTarget;
        m_HasCommandValue = true;
        break;
    default:
        m_Source.Bind(property);
        ValueNode::Bind(property);
        break;
    }
}

std::string_view CommandNode::Missing() const {
    if (!m_Source.IsComplete()) return "Value or pValue";
    return m_HasCommandValue ? "" : "CommandValue or pCommandValue";
}

void CommandNode::WriteCommand(bool verify) {
    m_Source.Write(*this, CommandValue(), verify);
    m_IsWaiting = m_Source.FixedTarget() != nullptr;
}

void CommandNode::Execute(bool Verify) {
    RunChange(*this, Verify, [&] {
        const Descent descent(*this);
        ThrowIfDefective("Execute");
        if (Verify) RequireWritable("Execute");
        WriteCommand(Verify);
    });
}

bool CommandNode::ReadIsDone(bool verify) {
    Node* const pTarget = m_Source.FixedTarget();
    if (!m_IsWaiting || !pTarget) return true;
    if (!GenApi::IsReadable(pTarget->Access())) return true;
    // A cache would hold the command's own value for ever.
    return pTarget->ReadInteger({verify, /*ignoreCache=*/true}) != CommandValue();
}

bool CommandNode::CheckDone(ChangeFrame& frame, bool verify) {
    const Descent descent(*this);
    ThrowIfDefective("IsDone");
    if (!m_IsWaiting) return true;
    if (!ReadIsDone(verify)) return false;
    m_IsWaiting = false;
    frame.Invalidate({Index()});
    return true;
}

bool CommandNode::IsDone(bool Verify) {
    ChangeFrame frame(Host());
    const bool isDone = CheckDone(frame, Verify);
    frame.Finish();
    return isDone;
}

std::string CommandNode::DoReadText(ReadFlags flags) {
    return ReadIsDone(flags.verify) ? "1" : "0";
}

void CommandNode::DoWriteText(std::string_view text, bool verify) {
    const std::optional<bool> value = ParseBoolean(text);
    if (!value) ThrowInvalidArgument(*this, "FromString", "'" + std::string(text) + "' does not execute the command.");
    if (*value) WriteCommand(verify);
}

} // namespace genapi
