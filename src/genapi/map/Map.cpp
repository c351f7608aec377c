#include "genapi/map/Map.h"

#include "genapi/map/Linker.h"
#include "genapi/map/NodeFactory.h"
#include "genapi/nodes/base/PropertyRules.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/register/RegisterIndex.h"

#include <algorithm>

namespace genapi {

Map::Map(const GenICam::gcstring& deviceName) : m_DeviceName(deviceName) {}

Map::~Map() {
    ReleaseCallbacks();
    for (Node* const pNode : m_Nodes)
        pNode->~Node();
}

void Map::SetInfo(MapProperty property, std::string_view value) {
    m_Info[static_cast<std::size_t>(property)] = m_Arena.Keep(value);
}

Node& Map::AddNode(NodeType type, std::string_view name, bool isStandard) {
    if (m_IsFinished) ThrowLogicalError("The node map is finished and takes no further nodes.");
    const NodeIndex index = static_cast<NodeIndex>(m_Nodes.size());
    name = m_Arena.Keep(name);
    if (name.empty()) ThrowRuntime("A node needs a name.");
    if (m_Names.Insert(name) == kNoNode) ThrowRuntime("There is a node '" + std::string(name) + "' already.");
    m_Nodes.push_back(MakeNode(m_Arena, {this, index, type, isStandard, name}));
    ResizeParts(m_Nodes.size());
    m_Drafts.emplace_back();
    return *m_Nodes.back();
}

void Map::AddProperty(Node& node, const PropertyRecord& record) {
    if (m_IsFinished || m_Drafts[node.Index()].isFinished) {
        ThrowLogicalError(node, "SetProperty", "The node is finished and takes no further properties.");
    }
    if (!HasProperty(node.Type(), record.id)) {
        ThrowProperty(node, "SetProperty", "The node has no property " + std::string(PropertyName(record.id)) + ".");
    }
    const std::string fault = CheckForm(node.Type(), record);
    if (!fault.empty()) ThrowProperty(node, "SetProperty", fault);

    const PropertyRecord kept{record.id, record.attributeKind, m_Arena.Keep(record.value),
                              m_Arena.Keep(record.attribute)};
    std::vector<PropertyRecord>& properties = m_Drafts[node.Index()].properties;
    const auto isSame = [&record](const PropertyRecord& other) { return other.id == record.id; };
    const auto same =
        IsListProperty(record.id) ? properties.end() : std::find_if(properties.begin(), properties.end(), isSame);
    if (same != properties.end()) {
        *same = kept;
    } else {
        properties.push_back(kept);
    }
    // What was set so far can be read back at once.
    node.SetProperties({properties.data(), static_cast<uint32_t>(properties.size())});
}

void Map::FinishNode(Node& node) {
    if (!m_IsFinished) m_Drafts[node.Index()].isFinished = true;
}

void Map::TakeDrafts() {
    std::size_t count = 0;
    for (const Draft& draft : m_Drafts)
        count += draft.properties.size();
    m_Properties.reserve(count);
    for (NodeIndex i = 0; i < m_Drafts.size(); ++i) {
        const std::vector<PropertyRecord>& properties = m_Drafts[i].properties;
        const PropertyRecord* const pFirst = m_Properties.data() + m_Properties.size();
        m_Properties.insert(m_Properties.end(), properties.begin(), properties.end());
        m_Nodes[i]->SetProperties({pFirst, static_cast<uint32_t>(properties.size())});
    }
    m_Names.Resolve(m_Properties.data(), m_Properties.size());
    m_Drafts.clear();
    m_Drafts.shrink_to_fit();
}

void Map::Finalise(std::string_view root, Strictness strictness) {
    if (m_IsFinished) ThrowLogicalError("The node map is finished already.");
    TakeDrafts();
    m_IsFinished = true;
    Linker(*this, strictness).Run(root);
}

void Map::Load(Description description) {
    if (m_IsFinished || !m_Nodes.empty()) ThrowRuntime("The node map is loaded already.");
    m_Description = std::move(description);
    m_Info = m_Description.info;
    m_Problems = std::move(m_Description.problems);
    const std::size_t count = m_Description.nodes.size();
    m_Names = std::move(m_Description.names);
    m_Names.Resolve(m_Description.properties.data(), m_Description.properties.size());
    m_Nodes.reserve(count);
    ResizeParts(count);
    for (const NodeRecord& record : m_Description.nodes) {
        const NodeIndex index = static_cast<NodeIndex>(m_Nodes.size());
        m_Nodes.push_back(MakeNode(m_Arena, {this, index, record.type, record.isStandard, record.name}));
        m_Nodes.back()->SetProperties(record.properties);
    }
    m_IsFinished = true;
    for (const Description::Duplicate& duplicate : m_Description.duplicates) {
        Find(duplicate.name)
            ->MarkAsDefective(NodeDefect::Kind::Link, "The description of the node is faulty: line " +
                                                          std::to_string(duplicate.line) +
                                                          " has a second node of this name");
    }
    Linker(*this, Strictness::Report).Run("Root");
}

Node* Map::Find(std::string_view name) const {
    return NodeAt(m_Names.Find(name));
}

} // namespace genapi
