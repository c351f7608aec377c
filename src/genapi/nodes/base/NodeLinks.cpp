// How nodes hang together, as an application may ask.
#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/LinkVisit.h"

#include <unordered_set>

namespace genapi {

namespace {

using P = PropertyId;

// Nodes in the order of their coming, each once. bound to a thread
class NodeList {
public:
    explicit NodeList(GenApi::NodeList_t& nodes) : m_Nodes(nodes) {}
    void Add(Node& node) {
        if (m_IsIn.insert(&node).second) m_Nodes.push_back(&node);
    }
    template<class Choice>
    void AddLinked(const Node& node, Choice isMeant) {
        ForEachLink(node, isMeant, [this](Node& target) { Add(target); });
    }

private:
    GenApi::NodeList_t& m_Nodes; // borrowed
    std::unordered_set<const Node*> m_IsIn;
};

// Visits all nodes that the links lead to, each once; a node for which the visitor returns false leads no further.
template<class Choice, class Visitor>
void Walk(const Node& start, Choice isMeant, Visitor visit) {
    std::vector<bool> isMet(start.Host().Nodes().size(), false);
    std::vector<const Node*> queue{&start};
    isMet[start.Index()] = true;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        ForEachLink(*queue[head], isMeant, [&](Node& next) {
            if (isMet[next.Index()]) return;
            isMet[next.Index()] = true;
            if (visit(next)) queue.push_back(&next);
        });
    }
}

bool IsTerminal(const Node& node) {
    bool isWritingOn = false;
    ForEachLink(node, IsWriting, [&isWritingOn](Node&) { isWritingOn = true; });
    return node.OwnCachingMode() || !isWritingOn;
}

int64_t OwnPollingTime(const Node& node) {
    return ParseInteger(node.PropertyText(PropertyId::PollingTime)).value_or(-1);
}

} // namespace

GenApi::ECachingMode Node::CachingMode() const {
    if (const GenApi::ECachingMode* const pOwn = OwnCachingMode()) return *pOwn;
    GenApi::ECachingMode mode = GenApi::WriteThrough;
    Walk(*this, IsReading, [&mode](const Node& node) {
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
    Walk(*this, IsGivingValue, [&isValid](Node& node) {
        isValid = isValid && node.IsOwnCacheValid();
        return isValid;
    });
    return isValid;
}

GenApi::EYesNo Node::IsAccessModeCacheable() const {
    // What lies behind a port may change its mode silently, together with the port.
    bool needsPort = m_Type == NodeType::Port;
    Walk(*this, IsReading, [&needsPort](const Node& node) {
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
    Walk(*this, IsReading, [&shortest](const Node& node) {
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
    case GenApi::ctReadingChildren:
        children.AddLinked(*this, [](P id) { return IsReading(id) || IsListing(id); });
        break;
    case GenApi::ctWritingChildren:
        children.AddLinked(*this, IsWriting);
        break;
    case GenApi::ctInvalidatingChildren:
        children.AddLinked(*this, [](P id) { return id == P::pInvalidator; });
        break;
    case GenApi::ctDependingNodes: {
        const GenApi::AutoLock lock(m_pHost->Lock());
        for (const NodeIndex index : m_pHost->Reach().Of({m_Index})) {
            if (index != m_Index) children.Add(*m_pHost->Nodes()[index]);
        }
        break;
    }
    case GenApi::ctTerminalNodes:
        if (IsTerminal(*this)) children.Add(const_cast<Node&>(*this));
        Walk(*this, IsWriting, [&children](Node& node) {
            const bool isTerminal = IsTerminal(node);
            if (isTerminal) children.Add(node);
            return !isTerminal;
        });
        children.AddLinked(*this, [](P id) { return id == P::pTerminal; });
        break;
    }
}

void Node::GetParents(GenApi::NodeList_t& Parents) const {
    Parents.clear();
    const GenApi::AutoLock lock(m_pHost->Lock());
    for (const DependencyGraph::Link link : m_pHost->Named().Parents().DependentsOf(m_Index))
        Parents.push_back(m_pHost->NodeAt(link.target));
}

} // namespace genapi
