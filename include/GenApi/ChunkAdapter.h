#pragma once
// The base of adapters that hand the chunks of a buffer to a node map.

#include <GenApi/ChunkPort.h>
#include <GenApi/Export.h>
#include <GenApi/INodeMap.h>

#include <memory>
#include <vector>

namespace GenApi {

/// Works over any INodeMap. The node map must outlive it. bound to a thread
class TAVIX_GENAPI_API CChunkAdapter {
public:
    /// MaxChunkCacheSize: the largest chunk that may be copied, -1 for any.
    explicit CChunkAdapter(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
    virtual ~CChunkAdapter();
    CChunkAdapter(const CChunkAdapter&) = delete;
    CChunkAdapter& operator=(const CChunkAdapter&) = delete;

    /// Whether the bytes end in chunks of this adapter's kind. BufferLength is in bytes.
    virtual bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) = 0;
    /// Gives each chunk to the port of its ID and detaches the ports that have none. The buffer is borrowed until
    /// DetachBuffer. The statistics are optional.
    virtual void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                              AttachStatistics_t* pAttachStatistics = nullptr) = 0;

    /// AttachBuffer as one change of the node map: callbacks of nodes wait until all ports have their chunks, and each
    /// is called once however many ports it hears of. What callbacks throw passes through; the buffer is attached then.
    void AttachAtOnce(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics = nullptr);
    /// All chunk features become NA. This and the two below are one change of the node map, too.
    void DetachBuffer();
    /// Another buffer of the same layout.
    void UpdateBuffer(uint8_t* pBuffer);
    /// Replaces the ports of an earlier adapter on the same map.
    void AttachNodeMap(INodeMap* pNodeMap);
    /// Detaches the data and disconnects the ports.
    void DetachNodeMap();
    /// Drops copies of chunks; ports that lived on them become NA.
    void ClearCaches();

protected:
    std::vector<CChunkPort*> m_ChunkPorts; ///< borrowed, in node-map order
    int64_t m_MaxChunkCacheSize;

private:
    std::vector<std::unique_ptr<CChunkPort>> m_OwnedPorts; ///< the same
};

} // namespace GenApi
