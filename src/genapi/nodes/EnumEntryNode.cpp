#include "genapi/nodes/EnumerationNode.h"

namespace genapi {

void EnumEntryNode::Bind(const BoundProperty& property) {
    const std::string_view text = property.record.value;
    switch (property.record.id) {
    case PropertyId::Value:
        m_Value = ParseInteger(text).value_or(0);
        m_HasValue = true;
        break;
    case PropertyId::NumericValue:
        m_NumericValue = ParseFloat(text).value_or(0.0);
        m_HasNumericValue = true;
        break;
    case PropertyId::Symbolic:
        m_Symbolic = text;
        break;
    case PropertyId::IsSelfClearing:
        m_ClearsItself = ParseYesNo(text).value_or(false);
        break;
    default:
        ValueNode::Bind(property);
        break;
    }
}

} // namespace genapi
