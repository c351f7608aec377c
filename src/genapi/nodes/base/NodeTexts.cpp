// What a node says about itself: names, texts and raw properties. None of it changes, so no lock is needed.
#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"

namespace genapi {

const PropertyRecord* Node::FindRecord(PropertyId id) const {
    const PropertyRecord* pFound = nullptr;
    for (const PropertyRecord& record : m_Properties) {
        if (record.id == id) pFound = &record; // of a single property the last one counts
    }
    return pFound;
}

std::string_view Node::PropertyText(PropertyId id) const {
    const PropertyRecord* const pRecord = FindRecord(id);
    return pRecord ? pRecord->value : std::string_view();
}

Node* Node::LinkedNode(PropertyId id) const {
    const PropertyRecord* const pRecord = FindRecord(id);
    return pRecord ? m_pHost->NodeAt(pRecord->target) : nullptr;
}

GenICam::gcstring Node::GetName(bool FullQualified) const {
    if (!FullQualified) return GenICam::gcstring(m_Name);
    return GenICam::gcstring((m_IsStandard ? "Std::" : "Cust::") + std::string(m_Name));
}

GenApi::ENameSpace Node::GetNameSpace() const {
    return m_IsStandard ? GenApi::Standard : GenApi::Custom;
}

GenICam::gcstring Node::GetToolTip() const {
    return GenICam::gcstring(PropertyText(PropertyId::ToolTip));
}

GenICam::gcstring Node::GetDescription() const {
    return GenICam::gcstring(PropertyText(PropertyId::Description));
}

GenICam::gcstring Node::GetDisplayName() const {
    if (const PropertyRecord* const pRecord = FindRecord(PropertyId::DisplayName)) {
        return GenICam::gcstring(pRecord->value);
    }
    const std::string_view symbolic = PropertyText(PropertyId::Symbolic);
    return GenICam::gcstring(symbolic.empty() ? m_Name : symbolic);
}

GenICam::gcstring Node::GetDeviceName() const {
    return m_pHost->DeviceName();
}

GenICam::gcstring Node::GetEventID() const {
    return GenICam::gcstring(PropertyText(PropertyId::EventID));
}

GenICam::gcstring Node::GetDocuURL() const {
    return GenICam::gcstring(PropertyText(PropertyId::DocuURL));
}

bool Node::IsDeprecated() const {
    return ParseYesNo(PropertyText(PropertyId::IsDeprecated)).value_or(false);
}

bool Node::IsStreamable() const {
    return ParseYesNo(PropertyText(PropertyId::Streamable)).value_or(false);
}

GenApi::INodeMap* Node::GetNodeMap() const {
    return m_pHost->Facade();
}

GenApi::INode* Node::GetAlias() const {
    return LinkedNode(PropertyId::pAlias);
}

GenApi::INode* Node::GetCastAlias() const {
    return LinkedNode(PropertyId::pCastAlias);
}

void Node::GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const {
    PropertyNames.clear();
    bool isListed[kPropertyCount] = {};
    for (const PropertyRecord& record : m_Properties) {
        bool& wasListed = isListed[static_cast<std::size_t>(record.id)];
        if (!wasListed) PropertyNames.push_back(GenICam::gcstring(PropertyName(record.id)));
        wasListed = true;
    }
}

bool Node::GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                       GenICam::gcstring& AttributeStr) {
    const std::optional<PropertyId> id = FindProperty(PropertyName.view());
    if (!id) return false;
    std::string values;
    std::string attributes;
    unsigned count = 0;
    for (const PropertyRecord& record : m_Properties) {
        if (record.id != *id) continue;
        if (!IsListProperty(*id)) { // the last one counts
            values.clear();
            attributes.clear();
        } else if (count > 0) {
            values += '\t';
            attributes += '\t';
        }
        values += record.value;
        attributes += record.attribute;
        ++count;
    }
    if (count == 0) return false;
    ValueStr = values;
    AttributeStr = attributes;
    return true;
}

} // namespace genapi
