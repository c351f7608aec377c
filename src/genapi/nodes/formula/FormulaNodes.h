#pragma once
// The node types IntSwissKnife and SwissKnife.

#include "genapi/nodes/FloatFace.h"
#include "genapi/nodes/IntegerFace.h"
#include "genapi/nodes/formula/FormulaBinding.h"
#include "genapi/nodes/host/Remembered.h"

namespace genapi {

/// A whole number that is computed. thread-safe
class IntSwissKnifeNode final : public IntegerFace<ValueNode> {
public:
    using IntegerFace::IntegerFace;
    using IntegerFace::operator=;

    void Bind(const BoundProperty& property) override;
    GenApi::EAccessMode TargetAccess() override;
    std::string CompileError() override { return m_Formula.CompileError(m_Scope); }
    bool MindsVariable(std::string_view name) override { return m_Formula.Mentions(m_Scope, name); }

protected:
    int64_t RawInteger(ReadFlags flags) override;
    void StoreInteger(int64_t value, bool verify) override;

private:
    FormulaScope m_Scope;
    FormulaBinding m_Formula{FormulaMode::Integer, {}};
    Remembered<int64_t> m_Value;
};

/// A floating-point number that is computed. thread-safe
class SwissKnifeNode final : public FloatFace<ValueNode> {
public:
    using FloatFace::FloatFace;
    using FloatFace::operator=;

    void Bind(const BoundProperty& property) override;
    GenApi::EAccessMode TargetAccess() override;
    std::string CompileError() override { return m_Formula.CompileError(m_Scope); }
    bool MindsVariable(std::string_view name) override { return m_Formula.Mentions(m_Scope, name); }

protected:
    double RawReal(ReadFlags flags) override;
    void StoreReal(double value, bool verify) override;

private:
    FormulaScope m_Scope;
    FormulaBinding m_Formula{FormulaMode::Float, {}};
    Remembered<double> m_Value;
};

} // namespace genapi
