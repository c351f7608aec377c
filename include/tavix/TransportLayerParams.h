#pragma once
// The parameter node map that every transport layer offers.

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// A new node map with the Boolean "ChunkNodeMapSupportEnable" (value held in the node, initially true).
GenApi::INodeMap* CreateDefaultTransportLayerParams();
/// Null is ignored.
void DestroyDefaultTransportLayerParams(GenApi::INodeMap* pNodeMap);

} // namespace Tavix
