#pragma once
// The node type Command.

#include "genapi/nodes/ValueSource.h"
#include "genapi/nodes/base/ValueNode.h"

#include <GenApi/ICommand.h>

namespace genapi {

/// Writes a number to a target and is done when the target shows another. thread-safe
class CommandNode final : public ValueNode, virtual public GenApi::ICommand {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override;
    GenApi::EAccessMode TargetAccess() override { return m_Source.Access(); }

    /// Asks the device whether the command is done, in a frame of the caller's. When it has become so, all that depends
    /// on the command is invalidated and its callbacks are gathered.
    bool CheckDone(ChangeFrame& frame, bool verify);
    bool IsWaiting() const { return m_IsWaiting; }

    // GenApi::ICommand
    void Execute(bool Verify = true) override;
    void operator()() override { Execute(); }
    bool IsDone(bool Verify = true) override;

protected:
    int64_t DoReadInteger(ReadFlags flags) override { return m_Source.Read(flags); }
    void DoWriteInteger(int64_t value, bool verify) override { m_Source.Write(*this, value, verify); }
    std::string DoReadText(ReadFlags flags) override;
    void DoWriteText(std::string_view text, bool verify) override;

private:
    int64_t CommandValue() const { return m_pCommandValue ? m_pCommandValue->ReadInteger({}) : m_CommandValue; }
    bool ReadIsDone(bool verify);
    void WriteCommand(bool verify);

    ValueSource<int64_t> m_Source;
    Node* m_pCommandValue = nullptr;
    int64_t m_CommandValue = 1;
    bool m_HasCommandValue = false;
    bool m_IsWaiting = false; ///< executed and not seen done yet; guarded by the map's lock
};

} // namespace genapi
