#include "genapi/map/Linker.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/EnumerationNode.h"
#include "genapi/nodes/base/PropertyRules.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"

#include <algorithm>

namespace genapi {

namespace {

constexpr PropertySet kNoted =
    PropertySet::Of(PropertyId::pValue, PropertyId::IsFeature, PropertyId::PollingTime, PropertyId::IsSelfClearing);

} // namespace

void Linker::Run(std::string_view root) {
    const GenApi::AutoLock lock(m_Map.Lock());
    m_ValueTargets.assign(m_Map.m_Nodes.size(), kNoNode);
    for (Node* const pNode : m_Map.m_Nodes)
        Bind(*pNode);
    m_Map.Reach().Build();
    MarkFeatures(root);
    CollectPolled();
    RefuseLongChains();
}

void Linker::Bind(Node& node) {
    const PropertySet& properties = TraitsOf(node.Type()).properties;
    for (const PropertyRecord& record : node.Properties()) {
        // Elements that a type does not have are of no meaning to it.
        if (properties.Has(record.id)) BindProperty(node, record);
    }
    if (node.Type() == NodeType::Enumeration) m_Enumerations.push_back(&node);
    const std::string_view missing = node.Missing();
    if (!missing.empty() && !node.IsDefective()) Fail(node, Fault::Property, "the node has no " + std::string(missing));
}

void Linker::BindProperty(Node& node, const PropertyRecord& record) {
    if (!HasForm(node.Type(), record)) {
        const std::string fault = CheckForm(node.Type(), record);
        return IsVitalProperty(record.id) ? Fail(node, Fault::Property, fault) : Leave(node, fault);
    }
    BoundProperty property{record, nullptr, nullptr};
    if (IsLink(record.id)) {
        property.pTarget = m_Map.NodeAt(record.target);
        if (!property.pTarget) {
            const std::string text =
                std::string(PropertyName(record.id)) + " names the unknown node '" + std::string(record.value) + "'";
            return IsVitalLink(record.id) ? Fail(node, Fault::Link, text) : Leave(node, text);
        }
    }
    if (record.attributeKind == AttributeKind::pOffset) {
        property.pOffsetTarget = m_Map.Find(record.attribute);
        if (!property.pOffsetTarget) {
            return Fail(node, Fault::Link, "pOffset names the unknown node '" + std::string(record.attribute) + "'");
        }
    }
    if (property.pTarget) AddDependencies(node, property);
    if (kNoted.Has(record.id)) Note(node, record);
    node.Bind(property);
}

void Linker::Note(Node& node, const PropertyRecord& record) {
    switch (record.id) {
    case PropertyId::pValue:
        m_ValueTargets[node.Index()] = record.target;
        break;
    case PropertyId::IsFeature:
        m_GivenFeatures.emplace_back(&node, ParseYesNo(record.value).value_or(false));
        break;
    case PropertyId::PollingTime: {
        const int64_t period = ParseInteger(record.value).value_or(0);
        if (!m_Polled.empty() && m_Polled.back().first == &node) m_Polled.pop_back(); // the last one counts
        m_Polled.emplace_back(&node, period);
        break;
    }
    case PropertyId::IsSelfClearing:
        if (ParseYesNo(record.value).value_or(false)) m_HasSelfClearingEntries = true;
        break;
    default:
        break;
    }
}

void Linker::AddDependencies(const Node& node, const BoundProperty& property) {
    const PropertyId id = property.record.id;
    const NodeIndex target = property.record.target; // the target itself may be far away in memory
    ChangeReach& reach = m_Map.Reach();
    if (IsDependencyLink(id)) reach.Add(target, node.Index(), id == PropertyId::pInvalidator);
    if (HasFlag(id, kTellsTarget)) reach.Add(node.Index(), target, false);
    if (id == PropertyId::pSelecting) reach.Add(target, node.Index(), false);
    if (property.pOffsetTarget) reach.Add(property.pOffsetTarget->Index(), node.Index(), false);
}

void Linker::MarkFeatures(std::string_view root) {
    std::vector<bool> isMet(m_Map.m_Nodes.size(), false);
    std::vector<Node*> queue;
    const auto meet = [&](Node* pNode) {
        if (!pNode || isMet[pNode->Index()]) return;
        isMet[pNode->Index()] = true;
        pNode->MarkAsFeature(true);
        queue.push_back(pNode);
    };
    meet(m_Map.Find(root));
    for (std::size_t head = 0; head < queue.size(); ++head) {
        if (queue[head]->Type() != NodeType::Category) continue;
        for (const PropertyRecord& record : queue[head]->Properties()) {
            if (record.id == PropertyId::pFeature) meet(m_Map.NodeAt(record.target));
        }
    }
    for (const auto& [pNode, isFeature] : m_GivenFeatures)
        pNode->MarkAsFeature(isFeature);
}

void Linker::CollectPolled() {
    const GenApi::AutoLock lock(m_Map.Lock());
    std::vector<bool> isListed(m_HasSelfClearingEntries ? m_Map.m_Nodes.size() : 0, false);
    for (const auto& [pNode, period] : m_Polled) {
        if (period <= 0) continue;
        m_Map.m_Polled.push_back({pNode, period, 0});
        if (!isListed.empty()) isListed[pNode->Index()] = true;
    }
    if (!m_HasSelfClearingEntries) return;
    for (Node* const pNode : m_Enumerations) {
        const auto* const pEnumeration = dynamic_cast<const EnumerationNode*>(pNode);
        const bool isNew = pEnumeration && pEnumeration->HasSelfClearingEntries() && !isListed[pNode->Index()];
        if (isNew) m_Map.m_Polled.push_back({pNode, 0, 0});
    }
}

// Each use of such a node would go down to the limit before it is refused.
void Linker::RefuseLongChains() {
    constexpr uint32_t kUnknown = 0;
    constexpr uint32_t kEndless = Effort::kMaxDepth + 1;
    std::vector<uint32_t> lengths(m_ValueTargets.size(), kUnknown);
    std::vector<NodeIndex> way;
    for (NodeIndex start = 0; start < lengths.size(); ++start) {
        NodeIndex node = start;
        for (; node != kNoNode && lengths[node] == kUnknown; node = m_ValueTargets[node]) {
            lengths[node] = kEndless; // until it is left; who meets it before goes round
            way.push_back(node);
        }
        uint32_t length = node != kNoNode ? lengths[node] : 0;
        for (; !way.empty(); way.pop_back()) {
            length = std::min(length + 1, kEndless);
            lengths[way.back()] = length;
            if (length == kEndless) m_Map.NodeAt(way.back())->MarkAsDefective(Fault::Link, Descent::kTooDeep);
        }
    }
}

void Linker::Fail(Node& node, Fault fault, const std::string& text) {
    if (m_Strictness == Strictness::Throw) {
        if (fault == Fault::Link) ThrowRuntime(node, "FinalConstruct", text);
        ThrowProperty(node, "FinalConstruct", text);
    }
    node.MarkAsDefective(fault, "The description of the node is faulty: " + text);
    Report(node, text);
}

void Linker::Leave(Node& node, const std::string& text) {
    if (m_Strictness == Strictness::Throw) ThrowRuntime(node, "FinalConstruct", text);
    Report(node, text);
}

void Linker::Report(const Node& node, const std::string& text) {
    const std::vector<NodeRecord>& records = m_Map.m_Description.nodes;
    const uint32_t line = node.Index() < records.size() ? records[node.Index()].line : 0;
    genapi::Report(m_Map.m_Problems, line, node.Name(), text);
}

} // namespace genapi
