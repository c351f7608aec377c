#include "genapi/nodes/base/Links.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/LinkVisit.h"

#include <unordered_set>

namespace genapi {

namespace {

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

void AddTerminals(const Node& node, NodeList& terminals) {
    if (IsTerminal(node)) terminals.Add(*node.Host().NodeAt(node.Index()));
    Walk(node, IsWriting, [&terminals](Node& met) {
        const bool isTerminal = IsTerminal(met);
        if (isTerminal) terminals.Add(met);
        return !isTerminal;
    });
    terminals.AddLinked(node, [](PropertyId id) { return id == PropertyId::pTerminal; });
}

int64_t OwnPollingTime(const Node& node) {
    return ParseInteger(node.PropertyText(PropertyId::PollingTime)).value_or(-1);
}

} // namespace

GenApi::ECachingMode CachingModeOf(const Node& node) {
    if (const GenApi::ECachingMode* const pOwn = node.OwnCachingMode()) return *pOwn;
    GenApi::ECachingMode mode = GenApi::WriteThrough;
    Walk(node, IsReading, [&mode](const Node& met) {
        const GenApi::ECachingMode* const pOwn = met.OwnCachingMode();
        if (!pOwn) return true;
        if (*pOwn == GenApi::NoCache || mode == GenApi::WriteThrough) mode = *pOwn;
        return false;
    });
    return mode;
}

bool IsCacheValid(Node& node) {
    if (node.IsDefective()) return false;
    bool isValid = node.IsOwnCacheValid();
    Walk(node, IsGivingValue, [&isValid](Node& met) {
        isValid = isValid && met.IsOwnCacheValid();
        return isValid;
    });
    return isValid;
}

bool NeedsPort(const Node& node) {
    bool needsPort = node.Type() == NodeType::Port;
    Walk(node, IsReading, [&needsPort](const Node& met) {
        needsPort = needsPort || met.Type() == NodeType::Port;
        return !needsPort;
    });
    return needsPort;
}

int64_t PollingTimeOf(const Node& node) {
    if (node.FindRecord(PropertyId::PollingTime)) return OwnPollingTime(node);
    int64_t shortest = -1;
    Walk(node, IsReading, [&shortest](const Node& met) {
        const int64_t time = OwnPollingTime(met);
        if (time > 0 && (shortest < 0 || time < shortest)) shortest = time;
        return time <= 0;
    });
    return shortest;
}

void ListChildren(const Node& node, GenApi::ELinkType type, GenApi::NodeList_t& nodes) {
    nodes.clear();
    NodeList children(nodes);
    switch (type) {
    case GenApi::ctParentNodes:
        ListParents(node, nodes);
        break;
    case GenApi::ctReadingChildren:
        children.AddLinked(node, [](PropertyId id) { return IsReading(id) || IsListing(id); });
        break;
    case GenApi::ctWritingChildren:
        children.AddLinked(node, IsWriting);
        break;
    case GenApi::ctInvalidatingChildren:
        children.AddLinked(node, [](PropertyId id) { return id == PropertyId::pInvalidator; });
        break;
    case GenApi::ctDependingNodes: {
        const GenApi::AutoLock lock(node.Host().Lock());
        for (const NodeIndex index : node.Host().Reach().Of({node.Index()})) {
            if (index != node.Index()) children.Add(*node.Host().Nodes()[index]);
        }
        break;
    }
    case GenApi::ctTerminalNodes:
        AddTerminals(node, children);
        break;
    }
}

void ListParents(const Node& node, GenApi::NodeList_t& parents) {
    parents.clear();
    const GenApi::AutoLock lock(node.Host().Lock());
    for (const DependencyGraph::Link link : node.Host().Named().Parents().DependentsOf(node.Index()))
        parents.push_back(node.Host().NodeAt(link.target));
}

} // namespace genapi
