#pragma once
// Who names a node.

#include "genapi/nodes/host/Graph.h"

#include <bitset>
#include <vector>

namespace genapi {

class Node;

/// The nodes that name each node by one of the properties, in the map's order, each once. Linear in links and nodes.
DependencyGraph MakeReverseLinks(const std::vector<Node*>& nodes, const std::bitset<kPropertyCount>& properties);

} // namespace genapi
