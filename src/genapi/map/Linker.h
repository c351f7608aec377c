#pragma once
// The finishing of a map: names become nodes, and every node learns whom it depends on.

#include "genapi/map/Map.h"

#include <string>

namespace genapi {

// Touches no port and evaluates nothing. bound to a thread
class Linker {
public:
    Linker(Map& map, Strictness strictness) : m_Map(map), m_Strictness(strictness) {}
    // `root` is the category below which features lie.
    void Run(std::string_view root);

private:
    void Bind(Node& node);
    void BindProperty(Node& node, const PropertyRecord& record);
    void AddDependencies(const Node& node, const BoundProperty& property);
    void MarkFeatures(std::string_view root);

    enum class Fault : uint8_t { Property, Link };
    // Throws, or makes the node report it.
    void Fail(Node& node, Fault fault, const std::string& text);
    // Throws, or leaves the link out.
    void Leave(Node& node, const std::string& text);
    void Report(const Node& node, const std::string& text);

    Map& m_Map;
    Strictness m_Strictness;
};

} // namespace genapi
