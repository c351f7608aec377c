// How nodes hang together, as an application may ask.
#include "genapi/description/Lexical.h"
#include "genapi/nodes/Node.h"
#include "genapi/nodes/ReverseLinks.h"

#include <algorithm>
#include <unordered_set>

namespace genapi {

namespace {

using Ids = std::vector<PropertyId>;
using P = PropertyId;

// What a node reads for its value, registers for their place.
const Ids kValueLinks = {P::pValue,    P::pIndex,   P::pValueIndexed, P::pValueDefault,
                         P::pVariable, P::pAddress, P::pLength,       P::pChunkID};
// What it reads at all.
const Ids kReadingLinks = {P::pIsImplemented, P::pIsAvailable,  P::pIsLocked, P::pBlockPolling, P::pValue,  P::pIndex,
                           P::pValueIndexed,  P::pValueDefault, P::pVariable, P::pAddress,      P::pLength, P::pPort,
                           P::pMin,           P::pMax,          P::pInc,      P::pCommandValue, P::pChunkID};
const Ids kWritingLinks = {P::pValue, P::pValueCopy, P::pValueIndexed, P::pValueDefault};
const Ids kInvalidatorLinks = {P::pInvalidator};
const Ids kFeatureLinks = {P::pFeature, P::pEnumEntry};

bool Contains(const Ids& ids, PropertyId id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// Calls visit(target) for each link, as often as a target is named.
template<class Visitor>
void ForEachLink(const Node& node, const Ids& ids, Visitor visit) {
    const auto meet = [&visit](Node* pNode) {
        if (pNode) visit(*pNode);
    };
    for (const PropertyRecord& record : node.Properties()) {
        if (!Contains(ids, record.id)) continue;
        meet(node.Host().NodeAt(record.target));
        if (record.attributeKind == AttributeKind::pOffset) meet(node.Host().Find(record.attribute));
    }
}

// Nodes in the order of their coming, each once. bound to a thread
class NodeList {
public:
    explicit NodeList(GenApi::NodeList_t& nodes) : m_Nodes(nodes) {}
    void Add(Node& node) {
        if (m_IsIn.insert(&node).second) m_Nodes.push_back(&node);
    }
    void AddLinked(const Node& node, const Ids& ids) {
        ForEachLink(node, ids, [this](Node& target) { Add(target); });
    }

private:
    GenApi::NodeList_t& m_Nodes; // borrowed
    std::unordered_set<const Node*> m_IsIn;
};

// Visits all nodes that the links lead to, each once; a node for which the visitor returns false leads no further.
template<class Visitor>
void Walk(const Node& start, const Ids& ids, Visitor visit) {
    std::vector<bool> isMet(start.Host().Nodes().size(), false);
    std::vector<const Node*> queue{&start};
    isMet[start.Index()] = true;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        ForEachLink(*queue[head], ids, [&](Node& next) {
            if (isMet[next.Index()]) return;
            isMet[next.Index()] = true;
            if (visit(next)) queue.push_back(&next);
        });
    }
}

bool IsTerminal(const Node& node) {
    bool isWritingOn = false;
    ForEachLink(node, kWritingLinks, [&isWritingOn](Node&) { isWritingOn = true; });
    return node.OwnCachingMode() || !isWritingOn;
}

int64_t OwnPollingTime(const Node& node) {
    return ParseInteger(node.PropertyText(PropertyId::PollingTime)).value_or(-1);
}

} // namespace

GenApi::ECachingMode Node::CachingMode() const {
    if (const GenApi::ECachingMode* const pOwn = OwnCachingMode()) return *pOwn;
    GenApi::ECachingMode mode = GenApi::WriteThrough;
    Walk(*this, kReadingLinks, [&mode](const Node& node) {
        const GenApi::ECachingMode* const pOwn = node.OwnCachingMode();
        if (!pOwn) return true;
        if (*pOwn == GenApi::NoCache || mode == GenApi::WriteThrough) mode = *pOwn;
        return false;
    });
    return mode;
}

bool Node::IsCacheValid() {
    if (m_pDefect) return false;
    bool isValid = IsOwnCacheValid();
    Walk(*this, kValueLinks, [&isValid](Node& node) {
        isValid = isValid && node.IsOwnCacheValid();
        return isValid;
    });
    return isValid;
}

GenApi::EYesNo Node::IsAccessModeCacheable() const {
    // What lies behind a port may change its mode silently, together with the port.
    bool needsPort = m_Type == NodeType::Port;
    Walk(*this, kReadingLinks, [&needsPort](const Node& node) {
        needsPort = needsPort || node.Type() == NodeType::Port;
        return !needsPort;
    });
    return needsPort ? GenApi::No : GenApi::Yes;
}

GenApi::ECachingMode Node::GetCachingMode() const {
    return CachingMode();
}

bool Node::IsCachable() const {
    return CachingMode() != GenApi::NoCache;
}

int64_t Node::GetPollingTime() const {
    if (FindRecord(PropertyId::PollingTime)) return OwnPollingTime(*this);
    int64_t shortest = -1;
    Walk(*this, kReadingLinks, [&shortest](const Node& node) {
        const int64_t time = OwnPollingTime(node);
        if (time > 0 && (shortest < 0 || time < shortest)) shortest = time;
        return time <= 0;
    });
    return shortest;
}

void Node::GetChildren(GenApi::NodeList_t& Children, GenApi::ELinkType LinkType) const {
    Children.clear();
    NodeList children(Children);
    switch (LinkType) {
    case GenApi::ctParentNodes:
        GetParents(Children);
        break;
    case GenApi::ctReadingChildren: {
        Ids ids = kReadingLinks;
        ids.insert(ids.end(), kFeatureLinks.begin(), kFeatureLinks.end());
        children.AddLinked(*this, ids);
        break;
    }
    case GenApi::ctWritingChildren:
        children.AddLinked(*this, kWritingLinks);
        break;
    case GenApi::ctInvalidatingChildren:
        children.AddLinked(*this, kInvalidatorLinks);
        break;
    case GenApi::ctDependingNodes: {
        const GenApi::AutoLock lock(m_pHost->Lock());
        for (const NodeIndex index : m_pHost->Reach({m_Index})) {
            if (index != m_Index) children.Add(*m_pHost->Nodes()[index]);
        }
        break;
    }
    case GenApi::ctTerminalNodes:
        if (IsTerminal(*this)) children.Add(const_cast<Node&>(*this));
        Walk(*this, kWritingLinks, [&children](Node& node) {
            const bool isTerminal = IsTerminal(node);
            if (isTerminal) children.Add(node);
            return !isTerminal;
        });
        children.AddLinked(*this, {P::pTerminal});
        break;
    }
}

void Node::GetParents(GenApi::NodeList_t& Parents) const {
    Parents.clear();
    const GenApi::AutoLock lock(m_pHost->Lock());
    for (const DependencyGraph::Link link : m_pHost->Parents().DependentsOf(m_Index))
        Parents.push_back(m_pHost->NodeAt(link.target));
}

const DependencyGraph& NodeHost::Parents() {
    m_Lock.AssertHeld();
    if (!m_pParents) {
        std::bitset<kPropertyCount> properties;
        for (const Ids& ids : {kReadingLinks, kWritingLinks, kFeatureLinks, kInvalidatorLinks}) {
            for (const PropertyId id : ids)
                properties.set(static_cast<std::size_t>(id));
        }
        m_pParents = std::make_unique<DependencyGraph>(MakeReverseLinks(m_Nodes, properties));
    }
    return *m_pParents;
}

const DependencyGraph& NodeHost::NamedBy(std::unique_ptr<DependencyGraph>& pGraph, PropertyId id) {
    m_Lock.AssertHeld();
    if (!pGraph) {
        std::bitset<kPropertyCount> properties;
        properties.set(static_cast<std::size_t>(id));
        pGraph = std::make_unique<DependencyGraph>(MakeReverseLinks(m_Nodes, properties));
    }
    return *pGraph;
}

const DependencyGraph& NodeHost::Selecting() {
    m_Lock.AssertHeld();
    return NamedBy(m_pSelecting, P::pSelected);
}

const DependencyGraph& NodeHost::SelectedBy() {
    m_Lock.AssertHeld();
    return NamedBy(m_pSelectedBy, P::pSelecting);
}

} // namespace genapi
