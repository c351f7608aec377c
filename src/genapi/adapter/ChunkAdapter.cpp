#include "genapi/adapter/ChunkChange.h"

#include <GenApi/ChunkAdapter.h>

#include <memory>
#include <utility>

namespace GenApi {

CChunkAdapter::CChunkAdapter(INodeMap* pNodeMap, int64_t MaxChunkCacheSize) : m_MaxChunkCacheSize(MaxChunkCacheSize) {
    if (pNodeMap) AttachNodeMap(pNodeMap);
}

CChunkAdapter::~CChunkAdapter() {
    DetachNodeMap();
}

void CChunkAdapter::AttachNodeMap(INodeMap* pNodeMap) {
    DetachNodeMap();
    if (!pNodeMap) return;
    NodeList_t nodes;
    pNodeMap->GetNodes(nodes);
    for (INode* const pNode : nodes) {
        IPortConstruct* const pPort = dynamic_cast<IPortConstruct*>(pNode);
        if (!pPort) continue;
        auto pChunkPort = std::make_unique<CChunkPort>();
        if (!pChunkPort->AttachPort(pPort)) continue;
        m_OwnedPorts.push_back(std::move(pChunkPort));
        m_ChunkPorts.push_back(m_OwnedPorts.back().get());
    }
}

void CChunkAdapter::DetachNodeMap() {
    m_ChunkPorts.clear();
    const std::vector<std::unique_ptr<CChunkPort>> leaving = std::move(m_OwnedPorts);
    m_OwnedPorts.clear();
}

void CChunkAdapter::AttachAtOnce(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics) {
    genapi::ChangeChunks(m_ChunkPorts, [&] { AttachBuffer(pBuffer, BufferLength, pAttachStatistics); });
}

void CChunkAdapter::DetachBuffer() {
    genapi::ChangeChunks(m_ChunkPorts, [this] {
        for (CChunkPort* const pPort : m_ChunkPorts)
            pPort->DetachChunk();
    });
}

void CChunkAdapter::UpdateBuffer(uint8_t* pBuffer) {
    genapi::ChangeChunks(m_ChunkPorts, [this, pBuffer] {
        for (CChunkPort* const pPort : m_ChunkPorts)
            pPort->UpdateBuffer(pBuffer);
    });
}

void CChunkAdapter::ClearCaches() {
    genapi::ChangeChunks(m_ChunkPorts, [this] {
        for (CChunkPort* const pPort : m_ChunkPorts)
            pPort->ClearCache();
    });
}

} // namespace GenApi
