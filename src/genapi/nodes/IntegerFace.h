#pragma once
// What all nodes with a whole number have in common.

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/ValueNode.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/host/Operation.h"
#include "genapi/nodes/text/TextForms.h"

#include <GenApi/IInteger.h>

#include <vector>

namespace genapi {

/// Checks of numbers and texts, apart from the template. re-entrant
class IntegerChecks {
public:
    /// Of a verified write; throws OutOfRangeException.
    static void CheckWrite(Node& node, int64_t value, const std::vector<int64_t>& validValues);
    static void CheckRead(Node& node, int64_t value);
    static int64_t ParseText(Node& node, std::string_view text);
    static std::vector<int64_t> ParseValidValues(std::string_view text);
};

/// Puts IInteger upon a base, which is ValueNode or a register: presentation, checks and text form. Kinds give the raw
/// value and its limits. thread-safe
template<class Base>
class IntegerFace : public Base, virtual public GenApi::IInteger {
public:
    using Base::Base;

    void Bind(const BoundProperty& property) override {
        if (property.record.id == PropertyId::Representation) {
            m_Representation = ParseKeywordAs<GenApi::ERepresentation>(Keyword::Representation, property.record.value)
                                   .value_or(GenApi::_UndefinedRepresentation);
        }
        Base::Bind(property);
    }
    GenApi::ERepresentation Representation() override {
        if (m_Representation != GenApi::_UndefinedRepresentation) return m_Representation;
        Node* const pInherited = InheritsFrom();
        if (!pInherited) return GenApi::PureNumber;
        const Descent descent(*this);
        return pInherited->Representation();
    }
    std::string_view Unit() override {
        const std::string_view own = this->PropertyText(PropertyId::Unit);
        Node* const pInherited = own.empty() ? InheritsFrom() : nullptr;
        if (!pInherited) return own;
        const Descent descent(*this);
        return pInherited->Unit();
    }

    // GenApi::IInteger
    void SetValue(int64_t Value, bool Verify = true) override {
        RunChange(*this, Verify, [&] { this->WriteInteger(Value, Verify); });
    }
    GenApi::IInteger& operator=(int64_t Value) override {
        SetValue(Value);
        return *this;
    }
    int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->ReadInteger({Verify, IgnoreCache});
    }
    int64_t operator()() override { return GetValue(); }
    int64_t operator*() override { return GetValue(); }
    int64_t GetMin() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->IntegerMin();
    }
    int64_t GetMax() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->IntegerMax();
    }
    int64_t GetInc() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->IntegerInc();
    }
    GenApi::ERepresentation GetRepresentation() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return Representation();
    }
    GenICam::gcstring GetUnit() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return GenICam::gcstring(Unit());
    }
    GenApi::EIncMode GetIncMode() override {
        return this->FindRecord(PropertyId::ValidValueSet) ? GenApi::listIncrement : GenApi::fixedIncrement;
    }
    GenApi::int64_autovector_t GetListOfValidValues(bool bounded = true) override {
        std::vector<int64_t> values = ValidValues();
        if (!bounded) return values;
        const GenApi::AutoLock lock(this->Host().Lock());
        const int64_t min = this->IntegerMin();
        const int64_t max = this->IntegerMax();
        GenApi::int64_autovector_t inside;
        for (const int64_t value : values) {
            if (value >= min && value <= max) inside.push_back(value);
        }
        return inside;
    }

protected:
    /// The number without checks.
    virtual int64_t RawInteger(ReadFlags flags) = 0;
    virtual void StoreInteger(int64_t value, bool verify) = 0;
    /// The node whose presentation is taken over; null for none.
    virtual Node* InheritsFrom() { return nullptr; }

    int64_t DoReadInteger(ReadFlags flags) override {
        const int64_t value = RawInteger(flags);
        if (flags.verify) IntegerChecks::CheckRead(*this, value);
        return value;
    }
    void DoWriteInteger(int64_t value, bool verify) override {
        if (verify) IntegerChecks::CheckWrite(*this, value, ValidValues());
        StoreInteger(value, verify);
    }
    std::string DoReadText(ReadFlags flags) override { return FormatInteger(DoReadInteger(flags), Representation()); }
    void DoWriteText(std::string_view text, bool verify) override {
        DoWriteInteger(IntegerChecks::ParseText(*this, text), verify);
    }

private:
    std::vector<int64_t> ValidValues() const {
        return IntegerChecks::ParseValidValues(this->PropertyText(PropertyId::ValidValueSet));
    }

    GenApi::ERepresentation m_Representation = GenApi::_UndefinedRepresentation;
};

} // namespace genapi
