#pragma once
// The node type Integer.

#include "genapi/nodes/IntegerFace.h"
#include "genapi/nodes/Limits.h"
#include "genapi/nodes/ValueSource.h"

namespace genapi {

/// Holds a number, passes one on, or chooses among several. thread-safe
class IntegerNode final : public IntegerFace<ValueNode> {
public:
    using IntegerFace::IntegerFace;
    using IntegerFace::operator=;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override;
    GenApi::EAccessMode TargetAccess() override { return m_Source.Access(); }
    Node* ValueTarget() override { return m_Source.TargetIfKnown(); }

protected:
    int64_t RawInteger(ReadFlags flags) override { return m_Source.Read(flags); }
    void StoreInteger(int64_t value, bool verify) override { m_Source.Write(*this, value, verify); }
    Node* InheritsFrom() override { return m_Source.FixedTarget(); }
    int64_t DoIntegerMin() override;
    int64_t DoIntegerMax() override;
    int64_t DoIntegerInc() override;

private:
    ValueSource<int64_t> m_Source;
    Limits<int64_t> m_Limits; ///< constant after Bind
};

} // namespace genapi
