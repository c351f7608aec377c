#pragma once
// The finishing of a map: names become nodes, and every node learns whom it depends on.

#include "genapi/map/Map.h"

#include <string>
#include <utility>
#include <vector>

namespace genapi {

/// Touches no port and evaluates nothing. bound to a thread
class Linker {
public:
    Linker(Map& map, Strictness strictness) : m_Map(map), m_Strictness(strictness) {}
    /// `root` is the category below which features lie.
    void Run(std::string_view root);

private:
    void Bind(Node& node);
    void BindProperty(Node& node, const PropertyRecord& record);
    /// Of a link that has its target.
    void AddDependencies(const Node& node, const BoundProperty& property);
    /// What the rest of the linking has to look at again.
    void Note(Node& node, const PropertyRecord& record);
    void MarkFeatures(std::string_view root);
    void CollectPolled();
    /// Nodes whose values come through too many others, or from themselves.
    void RefuseLongChains();

    using Fault = NodeDefect::Kind;
    /// Throws, or makes the node report it.
    void Fail(Node& node, Fault fault, const std::string& text);
    /// Throws, or leaves the link out.
    void Leave(Node& node, const std::string& text);
    void Report(const Node& node, const std::string& text);

    Map& m_Map;
    Strictness m_Strictness;
    std::vector<NodeIndex> m_ValueTargets;               ///< of each node; the nodes lie far apart in memory
    std::vector<std::pair<Node*, int64_t>> m_Polled;     ///< with their periods
    std::vector<std::pair<Node*, bool>> m_GivenFeatures; ///< that say themselves whether they are features
    std::vector<Node*> m_Enumerations;
    bool m_HasSelfClearingEntries = false;
};

} // namespace genapi
