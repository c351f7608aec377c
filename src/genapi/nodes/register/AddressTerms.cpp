#include "genapi/nodes/register/AddressTerms.h"

#include "genapi/description/Lexical.h"

namespace genapi {

void AddressTerms::Bind(const BoundProperty& property) {
    const PropertyRecord& record = property.record;
    switch (record.id) {
    case PropertyId::Address:
        m_Constant += static_cast<uint64_t>(ParseInteger(record.value).value_or(0));
        break;
    case PropertyId::pAddress:
        m_Terms.push_back({property.pTarget, nullptr, 1, Stride::Given});
        break;
    case PropertyId::pIndex:
        if (record.attributeKind == AttributeKind::pOffset) {
            m_Terms.push_back({property.pTarget, property.pOffsetTarget, 0, Stride::OfNode});
        } else if (record.attributeKind == AttributeKind::Offset) {
            m_Terms.push_back({property.pTarget, nullptr, ParseInteger(record.attribute).value_or(0), Stride::Given});
        } else {
            m_Terms.push_back({property.pTarget, nullptr, 0, Stride::Length});
        }
        break;
    default:
        break;
    }
}

int64_t AddressTerms::Evaluate(int64_t length) const {
    uint64_t address = m_Constant;
    for (const Term& term : m_Terms) {
        int64_t stride = term.stride;
        if (term.kind == Stride::OfNode) stride = term.pStride->ReadInteger({});
        if (term.kind == Stride::Length) stride = length;
        address += static_cast<uint64_t>(term.pNode->ReadInteger({})) * static_cast<uint64_t>(stride);
    }
    return static_cast<int64_t>(address);
}

} // namespace genapi
