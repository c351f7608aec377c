#pragma once
// The node type Float.

#include "genapi/nodes/FloatFace.h"
#include "genapi/nodes/Limits.h"
#include "genapi/nodes/ValueSource.h"

namespace genapi {

/// Holds a number, passes one on, or chooses among several. thread-safe
class FloatNode final : public FloatFace<ValueNode> {
public:
    using FloatFace::FloatFace;
    using FloatFace::operator=;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override;
    GenApi::EAccessMode TargetAccess() override { return m_Source.Access(); }
    Node* ValueTarget() override { return m_Source.TargetIfKnown(); }

protected:
    double RawReal(ReadFlags flags) override { return m_Source.Read(flags); }
    void StoreReal(double value, bool verify) override { m_Source.Write(*this, value, verify); }
    Node* InheritsFrom() override { return m_Source.FixedTarget(); }
    double DoRealMin() override;
    double DoRealMax() override;
    bool DoHasRealInc() override;
    double DoRealInc() override;

private:
    ValueSource<double> m_Source;
    Limits<double> m_Limits; ///< constant after Bind
};

} // namespace genapi
