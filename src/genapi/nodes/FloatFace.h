#pragma once
// What all nodes with a floating-point number have in common.

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/ValueNode.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/host/Operation.h"
#include "genapi/nodes/text/RoundToInteger.h"
#include "genapi/nodes/text/TextForms.h"

#include <GenApi/IFloat.h>

#include <cmath>

namespace genapi {

/// Checks of numbers and texts, apart from the template. re-entrant
class FloatChecks {
public:
    /// Of any write; throws OutOfRangeException.
    static void RefuseNaN(Node& node, double value);
    /// Of a verified write; throws OutOfRangeException. The increment is not enforced.
    static void CheckWrite(Node& node, double value);
    static void CheckRead(Node& node, double value);
    static double ParseText(Node& node, std::string_view text);
    [[noreturn]] static void ThrowNoIncrement(Node& node);
};

/// Puts IFloat upon a base, which is ValueNode or a register. thread-safe
template<class Base>
class FloatFace : public Base, virtual public GenApi::IFloat {
public:
    using Base::Base;

    void Bind(const BoundProperty& property) override {
        const std::string_view text = property.record.value;
        switch (property.record.id) {
        case PropertyId::Representation:
            m_Representation = ParseKeywordAs<GenApi::ERepresentation>(Keyword::Representation, text)
                                   .value_or(GenApi::_UndefinedRepresentation);
            break;
        case PropertyId::DisplayNotation:
            m_Notation = ParseKeywordAs<GenApi::EDisplayNotation>(Keyword::DisplayNotation, text)
                             .value_or(GenApi::_UndefinedEDisplayNotation);
            break;
        case PropertyId::DisplayPrecision:
            m_Precision = ParseInteger(text).value_or(kUndefined);
            break;
        default:
            break;
        }
        Base::Bind(property);
    }

    bool IsReal() const override { return true; }
    GenApi::ERepresentation Representation() override {
        if (m_Representation != GenApi::_UndefinedRepresentation) return m_Representation;
        return Inherited(GenApi::PureNumber, [](Node& node) { return node.Representation(); });
    }
    std::string_view Unit() override {
        const std::string_view own = this->PropertyText(PropertyId::Unit);
        return own.empty() ? Inherited(own, [](Node& node) { return node.Unit(); }) : own;
    }
    GenApi::EDisplayNotation Notation() override {
        if (m_Notation != GenApi::_UndefinedEDisplayNotation) return m_Notation;
        return Inherited(GenApi::fnAutomatic, [](Node& node) { return node.Notation(); });
    }
    int64_t Precision() override {
        if (m_Precision != kUndefined) return m_Precision;
        return Inherited(int64_t{6}, [](Node& node) { return node.Precision(); });
    }

    // GenApi::IFloat
    void SetValue(double Value, bool Verify = true) override {
        RunChange(*this, Verify, [&] { this->WriteReal(Value, Verify); });
    }
    GenApi::IFloat& operator=(double Value) override {
        SetValue(Value);
        return *this;
    }
    double GetValue(bool Verify = false, bool IgnoreCache = false) override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->ReadReal({Verify, IgnoreCache});
    }
    double operator()() override { return GetValue(); }
    double operator*() override { return GetValue(); }
    double GetMin() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->RealMin();
    }
    double GetMax() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->RealMax();
    }
    bool HasInc() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->HasRealInc();
    }
    GenApi::EIncMode GetIncMode() override { return HasInc() ? GenApi::fixedIncrement : GenApi::noIncrement; }
    double GetInc() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        if (!this->HasRealInc()) FloatChecks::ThrowNoIncrement(*this);
        return this->RealInc();
    }
    GenApi::double_autovector_t GetListOfValidValues(bool = true) override { return {}; }
    GenApi::ERepresentation GetRepresentation() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return Representation();
    }
    GenICam::gcstring GetUnit() const override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return GenICam::gcstring(Mutable().Unit());
    }
    GenApi::EDisplayNotation GetDisplayNotation() const override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return Mutable().Notation();
    }
    int64_t GetDisplayPrecision() const override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return Mutable().Precision();
    }

protected:
    /// The number without checks.
    virtual double RawReal(ReadFlags flags) = 0;
    virtual void StoreReal(double value, bool verify) = 0;
    /// The node whose presentation is taken over; null for none.
    virtual Node* InheritsFrom() { return nullptr; }

    double DoReadReal(ReadFlags flags) override {
        const double value = RawReal(flags);
        if (flags.verify) FloatChecks::CheckRead(*this, value);
        return value;
    }
    int64_t DoReadInteger(ReadFlags flags) override { return RoundToInteger(DoReadReal(flags)); }
    void DoWriteReal(double value, bool verify) override {
        FloatChecks::RefuseNaN(*this, value);
        if (verify) FloatChecks::CheckWrite(*this, value);
        StoreReal(value, verify);
    }
    void DoWriteInteger(int64_t value, bool verify) override { DoWriteReal(static_cast<double>(value), verify); }
    double DoRealMin() override { return std::numeric_limits<double>::lowest(); }
    double DoRealMax() override { return std::numeric_limits<double>::max(); }
    int64_t DoIntegerMin() override { return RoundToInteger(this->DoRealMin()); }
    int64_t DoIntegerMax() override { return RoundToInteger(this->DoRealMax()); }
    bool DoHasRealInc() override { return false; }
    double DoRealInc() override { return 0.0; }
    int64_t DoIntegerInc() override {
        // Only whole steps are steps of whole numbers.
        const double inc = this->DoHasRealInc() ? this->DoRealInc() : 1.0;
        return inc == std::floor(inc) ? RoundToInteger(inc) : 1;
    }
    std::string DoReadText(ReadFlags flags) override {
        return FormatReal(this->DoReadReal(flags), Notation(), Precision());
    }
    void DoWriteText(std::string_view text, bool verify) override {
        DoWriteReal(FloatChecks::ParseText(*this, text), verify);
    }

private:
    static constexpr int64_t kUndefined = std::numeric_limits<int64_t>::min();

    template<class Result, class Getter>
    Result Inherited(Result fallback, Getter getter) {
        Node* const pInherited = InheritsFrom();
        if (!pInherited) return fallback;
        const Descent descent(*this);
        return getter(*pInherited);
    }
    /// Presentation may come from other nodes, whose guards count under the lock.
    FloatFace& Mutable() const { return const_cast<FloatFace&>(*this); }

    int64_t m_Precision = kUndefined;
    GenApi::ERepresentation m_Representation = GenApi::_UndefinedRepresentation;
    GenApi::EDisplayNotation m_Notation = GenApi::_UndefinedEDisplayNotation;
};

} // namespace genapi
