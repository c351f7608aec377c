#pragma once
// Reads the chunk data of USB payloads and checks their checksum.

#include "tavix/ChunkParser.h"

#include <GenApi/GenApi.h>

namespace Tavix {

/// The checksum chunk `ChunkPayloadCRC16`, when present, is the last of the buffer and covers every byte in front of
/// it. Bound to a thread.
class CUsbChunkParser : public CChunkParser {
public:
    /// The node map must outlive the parser. Without one there are no features, and so no checksum.
    explicit CUsbChunkParser(GenApi::INodeMap* pChunkNodeMap);

    void AttachBuffer(const void* pBuffer, std::int64_t length,
                      GenApi::AttachStatistics_t* pStatistics = nullptr) override;
    void DetachBuffer() override;
    void UpdateBuffer(const void* pBuffer) override;
    bool HasCRC() const override;
    bool CheckCRC() override;

    /// The CRC-16 of `length` bytes, in the low 16 bits.
    std::uint64_t CRC16(const void* pData, std::uint64_t length) const;

protected:
    GenApi::INodeMap* GetChunkNodeMap() const { return m_pChunkNodeMap; }

private:
    GenApi::INodeMap* m_pChunkNodeMap;         // borrowed
    GenApi::IInteger* m_pCrcFeature = nullptr; // borrowed; null while no buffer is attached
};

} // namespace Tavix
