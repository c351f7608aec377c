#pragma once
// How nodes hang together: what follows from the links below a node.

#include <GenApi/INode.h>

namespace genapi {

class Node;

// Each walks over the links, each node once, and is linear in them. Links are constant, so no lock is needed but where
// it is said.

/// Registers answer for themselves, others for what they read.
GenApi::ECachingMode CachingModeOf(const Node& node);
/// Whether a plain read would be served without the port. Lock held.
bool IsCacheValid(Node& node);
/// Whether a port lies behind it. That may change its mode silently, together with the port.
bool NeedsPort(const Node& node);
/// The node's own, or the shortest of what it reads; below 0: none.
int64_t PollingTimeOf(const Node& node);
/// Takes the lock for parents and depending nodes.
void ListChildren(const Node& node, GenApi::ELinkType type, GenApi::NodeList_t& children);
/// Takes the lock.
void ListParents(const Node& node, GenApi::NodeList_t& parents);

} // namespace genapi
