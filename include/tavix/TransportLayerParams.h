#pragma once
// The parameter node map that every transport layer offers.

#include "tavix/Export.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// A new node map with the Boolean "ChunkNodeMapSupportEnable" (value held in the node, initially true).
TAVIX_BASE_API GenApi::INodeMap* CreateDefaultTransportLayerParams();
/// Null is ignored.
TAVIX_BASE_API void DestroyDefaultTransportLayerParams(GenApi::INodeMap* pNodeMap);

} // namespace Tavix
