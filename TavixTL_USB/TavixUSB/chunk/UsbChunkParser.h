#pragma once
// Reads the chunk data of USB payloads and checks their checksum.

#include "tavix/ChunkParser.h"

#include <GenApi/GenApi.h>

#include <atomic>

namespace GenApi {
class CChunkAdapterUsb;
}

namespace Tavix {

/// The checksum chunk `ChunkPayloadCRC16`, when present, is the last of the buffer and covers every byte in front of
/// it. Bound to a thread, but for LosePorts and RegainPorts.
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

    /// Another parser takes the chunk ports. From now on all calls but DetachBuffer throw LogicalErrorException.
    void LosePorts() { m_HasPorts = false; }
    /// The ports show the attached buffer again.
    void RegainPorts();

private:
    CUsbChunkParser(GenApi::CChunkAdapterUsb* pAdapter, GenApi::INodeMap* pChunkNodeMap);
    void RequirePorts() const;

    GenApi::CChunkAdapterUsb* const m_pUsbAdapter; // owned by the base
    std::atomic<bool> m_HasPorts{true};
    GenApi::INodeMap* m_pChunkNodeMap;         // borrowed
    GenApi::IInteger* m_pCrcFeature = nullptr; // borrowed; null while no buffer is attached
};

} // namespace Tavix
