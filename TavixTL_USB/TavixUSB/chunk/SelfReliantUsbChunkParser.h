#pragma once
// A USB chunk parser with a node map of its own.

#include "chunk/UsbChunkParser.h"

#include <boost/shared_ptr.hpp>

namespace Tavix {

namespace detail {

/// Holds the node map as a base that is built before the parser and destroyed after it.
struct ChunkNodeMapHolder {
    boost::shared_ptr<GenApi::CNodeMapRef> m_pChunkNodeMapRef;
};

} // namespace detail

/// Made with new and ended with Destroy. Bound to a thread.
class CSelfReliantUsbChunkParser final : private detail::ChunkNodeMapHolder,
                                         public CUsbChunkParser,
                                         public ISelfReliantChunkParser {
public:
    explicit CSelfReliantUsbChunkParser(const boost::shared_ptr<GenApi::CNodeMapRef>& pChunkNodeMapRef);

    GenApi::INodeMap* GetChunkDataNodeMap() override;
    /// Deletes the parser; its node map, if this was the last share, goes after it.
    void Destroy() override;

private:
    ~CSelfReliantUsbChunkParser() override = default;
};

} // namespace Tavix
