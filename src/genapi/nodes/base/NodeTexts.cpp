// What a node says about itself: names, texts and raw properties. None of it changes, so no lock is needed.
#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"

namespace genapi {

GenICam::gcstring Node::GetName(bool FullQualified) const {
    if (!FullQualified) return GenICam::gcstring(Name());
    return GenICam::gcstring((m_Seed.isStandard ? "Std::" : "Cust::") + std::string(Name()));
}

GenApi::ENameSpace Node::GetNameSpace() const {
    return m_Seed.isStandard ? GenApi::Standard : GenApi::Custom;
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
    return GenICam::gcstring(symbolic.empty() ? Name() : symbolic);
}

GenICam::gcstring Node::GetDeviceName() const {
    return Host().DeviceName();
}

GenApi::INodeMap* Node::GetNodeMap() const {
    return Host().Facade();
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

GenApi::INode* Node::GetAlias() const {
    return LinkedNode(PropertyId::pAlias);
}

GenApi::INode* Node::GetCastAlias() const {
    return LinkedNode(PropertyId::pCastAlias);
}

void Node::GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const {
    m_Properties.ListNames(PropertyNames);
}

bool Node::GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                       GenICam::gcstring& AttributeStr) {
    const std::optional<PropertyId> id = FindProperty(PropertyName.view());
    const std::optional<NodeProperties::Texts> texts = id ? m_Properties.Join(*id) : std::nullopt;
    if (!texts) return false;
    ValueStr = texts->value;
    AttributeStr = texts->attribute;
    return true;
}

} // namespace genapi
