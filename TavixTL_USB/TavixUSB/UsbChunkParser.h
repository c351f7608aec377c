#pragma once
// Makes the chunk data of a USB camera's buffer readable and checks its CRC.

#include "tavix/ChunkParser.h"

namespace GenApi {
struct IInteger;
}

namespace Tavix {

/// Parses into a borrowed node map that outlives it. Bound to a thread.
class CUsbChunkParser : public CChunkParser {
public:
    explicit CUsbChunkParser(GenApi::INodeMap* pNodeMap);

    void AttachBuffer(const void* pBuffer, std::int64_t length,
                      GenApi::AttachStatistics_t* pStatistics = nullptr) override;
    void DetachBuffer() override;
    bool HasCRC() const override;
    bool CheckCRC() override;
    /// CRC-16 with polynomial 0x1021 and initial value 0, neither reflected nor inverted.
    std::uint64_t CRC16(const void* pData, std::uint64_t length) const;

protected:
    GenApi::INodeMap* GetChunkNodeMap() const { return m_pChunkNodeMap; }

private:
    GenApi::INodeMap* const m_pChunkNodeMap;   // borrowed
    GenApi::IInteger* m_pCrcFeature = nullptr; // of m_pChunkNodeMap; null while detached or when there is none
};

} // namespace Tavix
