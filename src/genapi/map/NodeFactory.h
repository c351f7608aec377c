#pragma once
// From a type's name to a node.

#include "genapi/map/Arena.h"
#include "genapi/nodes/base/Node.h"

namespace genapi {

/// In the arena; the caller calls the destructor.
Node* MakeNode(Arena& arena, const NodeSeed& seed);

} // namespace genapi
