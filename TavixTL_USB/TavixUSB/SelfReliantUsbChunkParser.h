#pragma once
// A chunk parser with a chunk node map of its own.

#include "UsbChunkParser.h"

#include <GenApi/NodeMapRef.h>
#include <boost/shared_ptr.hpp>

namespace Tavix {

/// Keeps the node map alive. Bound to a thread.
class CSelfReliantUsbChunkParser final : public CUsbChunkParser, public ISelfReliantChunkParser {
public:
    explicit CSelfReliantUsbChunkParser(const boost::shared_ptr<GenApi::CNodeMapRef>& pNodeMap);

    GenApi::INodeMap* GetChunkDataNodeMap() override;
    /// Deletes the parser; the node map goes after it.
    void Destroy() override;

private:
    boost::shared_ptr<GenApi::CNodeMapRef> m_pNodeMap; // shared
};

} // namespace Tavix
