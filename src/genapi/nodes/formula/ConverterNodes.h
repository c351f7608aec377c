#pragma once
// The node types IntConverter and Converter.

#include "genapi/nodes/FloatFace.h"
#include "genapi/nodes/IntegerFace.h"
#include "genapi/nodes/formula/FormulaBinding.h"
#include "genapi/nodes/host/Remembered.h"

namespace genapi {

/// What both kinds have in common: the raw node, and a formula for each direction. Guarded by the map's lock.
class ConverterCore {
public:
    explicit ConverterCore(FormulaMode mode) : m_From(mode, "TO"), m_To(mode, "FROM"), m_Mode(mode) {
        if (mode == FormulaMode::Integer) m_To.SetImplicitInteger();
    }

    void Bind(const BoundProperty& property);
    Node* Raw() const { return m_pValue; }
    GenApi::ESlope Slope() const { return m_Slope; }
    bool IsLinear() const { return m_IsLinear; }
    GenApi::EAccessMode Access();
    std::string CompileError();
    /// Whether one of the formulas mentions the value of the variable.
    bool Mentions(std::string_view variable) {
        return m_From.Mentions(m_Scope, variable) || m_To.Mentions(m_Scope, variable);
    }

    /// Raw value to the node's own, and back.
    Value From(Node& owner, Value raw, ReadFlags flags) { return m_From.Evaluate(owner, m_Scope, flags, raw); }
    Value To(Node& owner, Value own) { return m_To.Evaluate(owner, m_Scope, {}, own); }

private:
    FormulaScope m_Scope;
    FormulaBinding m_From;
    FormulaBinding m_To;
    FormulaMode m_Mode;
    Node* m_pValue = nullptr;
    GenApi::ESlope m_Slope = GenApi::Automatic;
    bool m_IsLinear = false;
};

/// A whole number computed from another one and back. thread-safe
class IntConverterNode final : public IntegerFace<ValueNode> {
public:
    using IntegerFace::IntegerFace;
    using IntegerFace::operator=;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_Core.Raw() ? "" : "pValue"; }
    GenApi::EAccessMode TargetAccess() override { return m_Core.Access(); }
    std::string CompileError() override { return m_Core.CompileError(); }
    bool MindsVariable(std::string_view name) override { return m_Core.Mentions(name); }

protected:
    int64_t RawInteger(ReadFlags flags) override;
    void StoreInteger(int64_t value, bool verify) override;
    Node* InheritsFrom() override { return m_Core.Raw(); }
    int64_t DoIntegerMin() override { return Limit(/*isMax=*/false); }
    int64_t DoIntegerMax() override { return Limit(/*isMax=*/true); }

private:
    int64_t Limit(bool isMax);

    ConverterCore m_Core{FormulaMode::Integer};
    Remembered<int64_t> m_Value;
    Remembered<int64_t> m_Min;
    Remembered<int64_t> m_Max;
};

/// A floating-point number computed from a raw one and back. thread-safe
class ConverterNode final : public FloatFace<ValueNode> {
public:
    using FloatFace::FloatFace;
    using FloatFace::operator=;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_Core.Raw() ? "" : "pValue"; }
    GenApi::EAccessMode TargetAccess() override { return m_Core.Access(); }
    std::string CompileError() override { return m_Core.CompileError(); }
    bool MindsVariable(std::string_view name) override { return m_Core.Mentions(name); }

protected:
    double RawReal(ReadFlags flags) override;
    void StoreReal(double value, bool verify) override;
    Node* InheritsFrom() override { return m_Core.Raw(); }
    double DoRealMin() override { return Limit(/*isMax=*/false); }
    double DoRealMax() override { return Limit(/*isMax=*/true); }
    bool DoHasRealInc() override;
    double DoRealInc() override;

private:
    double Limit(bool isMax);

    ConverterCore m_Core{FormulaMode::Float};
    Remembered<double> m_Value;
    Remembered<double> m_Min;
    Remembered<double> m_Max;
};

} // namespace genapi
