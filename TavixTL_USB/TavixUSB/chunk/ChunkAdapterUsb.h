#pragma once
// Binds the chunks of a USB payload to the chunk ports of a node map.

#include <GenApi/ChunkAdapter.h>

namespace GenApi {

/// The layout, walked from its end:
///
///     | data, `length` bytes | chunk id, 4 | length, 4 | data ... | chunk id | length |
///
/// Ids and lengths are little-endian. Bound to a thread.
class CChunkAdapterUsb : public CChunkAdapter {
public:
    /// `maxChunkCacheSize`: the largest chunk that may be copied, -1 for any.
    explicit CChunkAdapterUsb(INodeMap* pNodeMap = nullptr, int64_t maxChunkCacheSize = -1);

    /// True when the buffer is a sequence of chunks from its first byte to its last.
    bool CheckBufferLayout(uint8_t* pBuffer, int64_t length) override;
    /// Attaches every chunk to all ports of its id, the one nearest the start last, and detaches all other ports. A
    /// rejected buffer (RuntimeException) leaves every port as it was; what a callback throws leaves all detached.
    void AttachBuffer(uint8_t* pBuffer, int64_t length, AttachStatistics_t* pStatistics = nullptr) override;

    /// Makes its ports those of the node map again, each with the chunk that it had. Throws nothing.
    void ConnectPorts();

private:
    void AttachChunks(uint8_t* pBuffer, int64_t length, AttachStatistics_t& statistics);
};

} // namespace GenApi
