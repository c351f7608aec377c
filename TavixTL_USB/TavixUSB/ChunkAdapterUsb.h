#pragma once
// Finds the chunks of a USB payload and hands them to the chunk ports of a node map.

#include <GenApi/ChunkAdapter.h>

namespace GenApi {

/// Chunks lie back to back; each is data, then chunk ID and data length as 32-bit little-endian numbers. Bound to a
/// thread.
class CChunkAdapterUsb : public CChunkAdapter {
public:
    CChunkAdapterUsb(INodeMap* pNodeMap, int64_t maxChunkCacheSize);

    bool CheckBufferLayout(uint8_t* pBuffer, int64_t length) override;
    /// RuntimeException for a null or malformed buffer, which leaves every port as it was.
    void AttachBuffer(uint8_t* pBuffer, int64_t length, AttachStatistics_t* pStatistics = nullptr) override;
};

} // namespace GenApi
