#pragma once
// The node types String and StringReg.

#include "genapi/nodes/host/Operation.h"
#include "genapi/nodes/register/RegisterNode.h"

#include <GenApi/IString.h>

namespace genapi {

/// Puts IString upon a base, which is ValueNode or a register. thread-safe
template<class Base>
class StringFace : public Base, virtual public GenApi::IString {
public:
    using Base::Base;

    // GenApi::IString
    void SetValue(const GenICam::gcstring& Value, bool Verify = true) override {
        RunChange(*this, Verify, [&] { this->WriteText(Value.view(), Verify); });
    }
    GenApi::IString& operator=(const GenICam::gcstring& Value) override {
        SetValue(Value);
        return *this;
    }
    GenICam::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override {
        return this->ToString(Verify, IgnoreCache);
    }
    GenICam::gcstring operator()() override { return GetValue(); }
    GenICam::gcstring operator*() override { return GetValue(); }
    int64_t GetMaxLength() override {
        const GenApi::AutoLock lock(this->Host().Lock());
        return this->MaxTextLength();
    }
};

/// Throws OutOfRangeException in a verified write; the text as it fits otherwise.
std::string_view FitText(Node& node, std::string_view text, int64_t maxLength, bool verify);

/// Holds a text or passes one on. thread-safe
class StringNode final : public StringFace<ValueNode> {
public:
    using StringFace::StringFace;
    using StringFace::operator=;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_pValue || m_IsHeld ? "" : "Value or pValue"; }
    GenApi::EAccessMode TargetAccess() override { return m_pValue ? m_pValue->Access() : GenApi::RW; }

protected:
    std::string DoReadText(ReadFlags flags) override { return m_pValue ? m_pValue->ReadText(flags) : m_Held; }
    void DoWriteText(std::string_view text, bool verify) override;
    int64_t DoMaxTextLength() override;

private:
    std::string m_Held; ///< guarded by the map's lock
    Node* m_pValue = nullptr;
    bool m_IsHeld = false;
};

/// A register that holds a text up to its first zero byte or its end. thread-safe
class StringRegNode final : public StringFace<RegisterNode> {
public:
    using StringFace::StringFace;
    using StringFace::operator=;

protected:
    std::string DoReadText(ReadFlags flags) override;
    void DoWriteText(std::string_view text, bool verify) override;
    int64_t DoMaxTextLength() override { return Length(); }
};

} // namespace genapi
