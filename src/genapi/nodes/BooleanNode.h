#pragma once
// The node type Boolean.

#include "genapi/nodes/ValueSource.h"
#include "genapi/nodes/base/ValueNode.h"

#include <GenApi/IBoolean.h>

namespace genapi {

/// Holds its state or shows whether a number equals the one that stands for yes. thread-safe
class BooleanNode final : public ValueNode, virtual public GenApi::IBoolean {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_Source.IsComplete() ? "" : "Value or pValue"; }
    GenApi::EAccessMode TargetAccess() override { return m_Source.Access(); }

    // GenApi::IBoolean
    void SetValue(bool Value, bool Verify = true) override;
    GenApi::IBoolean& operator=(bool Value) override;
    bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;
    bool operator()() const override { return GetValue(); }

protected:
    int64_t DoReadInteger(ReadFlags flags) override;
    void DoWriteInteger(int64_t value, bool verify) override;
    void DoWriteReal(double value, bool verify) override { DoWriteInteger(value != 0.0, verify); }
    int64_t DoIntegerMin() override { return 0; }
    int64_t DoIntegerMax() override { return 1; }
    std::string DoReadText(ReadFlags flags) override { return DoReadInteger(flags) ? "1" : "0"; }
    void DoWriteText(std::string_view text, bool verify) override;

private:
    /// A held state is kept as 1 or 0, whatever stands for yes in the target of a link.
    bool IsHeld() const { return !m_Source.FixedTarget(); }

    ValueSource<int64_t> m_Source;
    int64_t m_OnValue = 1;
    int64_t m_OffValue = 0;
};

} // namespace genapi
