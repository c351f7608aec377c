// The handles of nodes that are described in code.
#include "genapi/description/Lexical.h"
#include "genapi/map/Map.h"
#include "genapi/nodes/base/Throw.h"

#include <GenApi/NodeMap.h>

namespace GenApi {

namespace {

genapi::PropertyId IdOf(const genapi::Node& node, const GenICam::gcstring& name) {
    const std::optional<genapi::PropertyId> id = genapi::FindProperty(name.view());
    if (!id) genapi::ThrowProperty(node, "SetProperty", "There is no property " + name.str() + ".");
    return *id;
}

// A stride may be a number or the name of a node.
genapi::AttributeKind KindOf(genapi::PropertyId id, const GenICam::gcstring& attribute) {
    const genapi::AttributeKind kind = genapi::AttributeOf(id);
    if (kind != genapi::AttributeKind::Offset) return kind;
    if (attribute.empty()) return genapi::AttributeKind::None;
    return genapi::ParseInteger(attribute.view()) ? kind : genapi::AttributeKind::pOffset;
}

} // namespace

void CMapNode::ThrowEmpty() {
    genapi::ThrowLogicalError("The node is not registered in a node map.");
}

genapi::Map& CMapNode::Registered() const {
    if (!m_pMap) ThrowEmpty();
    return *m_pMap;
}

void CMapNode::SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value) {
    SetProperty(PropertyName, Value, GenICam::gcstring());
}

void CMapNode::SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value,
                           const GenICam::gcstring& Attribute) {
    genapi::Map& map = Registered();
    const genapi::PropertyId id = IdOf(*m_pNode, PropertyName);
    map.AddProperty(*m_pNode, {id, KindOf(id, Attribute), Value.view(), Attribute.view()});
}

void CMapNode::SetProperty(const GenICam::gcstring& PropertyName, const CMapNode& Target) {
    SetProperty(PropertyName, Target, GenICam::gcstring());
}

void CMapNode::SetProperty(const GenICam::gcstring& PropertyName, const CMapNode& Target,
                           const GenICam::gcstring& Attribute) {
    Target.Registered();
    SetProperty(PropertyName, Target.m_pNode->GetName(), Attribute);
}

void CMapNode::FinalConstruct() {
    Registered().FinishNode(*m_pNode);
}

INode* CMapNode::GetNode() const {
    return m_pNode;
}

} // namespace GenApi
