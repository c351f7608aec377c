#include "genapi/nodes/BooleanNode.h"

#include "genapi/nodes/base/Throw.h"

namespace genapi {

void BooleanNode::Bind(const BoundProperty& property) {
    const PropertyRecord& record = property.record;
    switch (record.id) {
    case PropertyId::Value: {
        const PropertyRecord state{
            record.id, AttributeKind::None, ParseBoolean(record.value).value_or(false) ? "1" : "0", {}};
        m_Source.Bind({state, nullptr, nullptr});
        break;
    }
    case PropertyId::OnValue:
        m_OnValue = ParseInteger(record.value).value_or(1);
        break;
    case PropertyId::OffValue:
        m_OffValue = ParseInteger(record.value).value_or(0);
        break;
    default:
        m_Source.Bind(property);
        ValueNode::Bind(property);
        break;
    }
}

int64_t BooleanNode::DoReadInteger(ReadFlags flags) {
    const int64_t number = m_Source.Read(flags);
    // What is neither the one nor the other is no yes.
    return number == (IsHeld() ? 1 : m_OnValue) ? 1 : 0;
}

void BooleanNode::DoWriteInteger(int64_t value, bool verify) {
    const int64_t number = IsHeld() ? value != 0 : value != 0 ? m_OnValue : m_OffValue;
    m_Source.Write(*this, number, verify);
}

void BooleanNode::DoWriteText(std::string_view text, bool verify) {
    const std::optional<bool> value = ParseBoolean(text);
    if (!value) ThrowInvalidArgument(*this, "FromString", "'" + std::string(text) + "' is neither true nor false.");
    DoWriteInteger(*value, verify);
}

void BooleanNode::SetValue(bool Value, bool Verify) {
    RunChange(*this, Verify, [&] { WriteInteger(Value, Verify); });
}

GenApi::IBoolean& BooleanNode::operator=(bool Value) {
    SetValue(Value);
    return *this;
}

bool BooleanNode::GetValue(bool Verify, bool IgnoreCache) const {
    const GenApi::AutoLock lock(Host().Lock());
    return const_cast<BooleanNode*>(this)->ReadInteger({Verify, IgnoreCache}) != 0;
}

} // namespace genapi
