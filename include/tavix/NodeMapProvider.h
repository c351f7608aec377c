#pragma once
// Gives the node map behind a wrapper.

#include "tavix/Export.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// Offered by wrappers of node maps beside INodeMap. Thread-safe.
class TAVIX_BASE_API INodeMapProvider {
public:
    /// The wrapped node map; borrowed.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~INodeMapProvider() = default;
};

} // namespace Tavix
