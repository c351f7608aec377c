#include "chunk/UsbChunkParser.h"

#include "Failure.h"
#include "chunk/ChunkAdapterUsb.h"

#include "u3v/Crc16.h"

namespace Tavix {
namespace {

/// Four bytes of checksum, four of id, four of length.
constexpr std::int64_t kCrcChunkSize = 12;
constexpr std::int64_t kCacheEveryChunk = -1;

} // namespace

CUsbChunkParser::CUsbChunkParser(GenApi::INodeMap* pChunkNodeMap)
    : CUsbChunkParser(new GenApi::CChunkAdapterUsb(pChunkNodeMap, kCacheEveryChunk), pChunkNodeMap) {}

CUsbChunkParser::CUsbChunkParser(GenApi::CChunkAdapterUsb* pAdapter, GenApi::INodeMap* pChunkNodeMap)
    : CChunkParser(pAdapter), m_pUsbAdapter(pAdapter), m_pChunkNodeMap(pChunkNodeMap) {}

void CUsbChunkParser::RequirePorts() const {
    if (m_HasPorts) return;
    Throw<GenICam::LogicalErrorException>(
        Here(), "Another chunk parser of this device has the chunk features until it is destroyed.");
}

void CUsbChunkParser::RegainPorts() {
    m_pUsbAdapter->ConnectPorts();
    m_HasPorts = true;
}

void CUsbChunkParser::AttachBuffer(const void* pBuffer, std::int64_t length, GenApi::AttachStatistics_t* pStatistics) {
    RequirePorts();
    CChunkParser::AttachBuffer(pBuffer, length, pStatistics);
    GenApi::INode* const pCrcNode = m_pChunkNodeMap ? m_pChunkNodeMap->GetNode("ChunkPayloadCRC16") : nullptr;
    m_pCrcFeature = dynamic_cast<GenApi::IInteger*>(pCrcNode);
}

void CUsbChunkParser::DetachBuffer() {
    CChunkParser::DetachBuffer();
    m_pCrcFeature = nullptr;
}

void CUsbChunkParser::UpdateBuffer(const void* pBuffer) {
    RequirePorts();
    CChunkParser::UpdateBuffer(pBuffer);
}

bool CUsbChunkParser::HasCRC() const {
    if (!IsBufferAttached()) Throw<GenICam::LogicalErrorException>(Here(), "No buffer attached.");
    RequirePorts();
    return m_pCrcFeature && m_pCrcFeature->GetAccessMode() > GenApi::NA;
}

bool CUsbChunkParser::CheckCRC() {
    if (!IsBufferAttached()) Throw<GenICam::LogicalErrorException>(Here(), "No buffer attached.");
    if (!HasCRC()) Throw<GenICam::LogicalErrorException>(Here(), "CRC data is not available.");
    const std::int64_t length = GetBufferLength();
    if (length < kCrcChunkSize) {
        // sic: the text speaks of a range although the buffer is too short
        Throw<GenICam::LogicalErrorException>(Here(), "Buffer length %i64d exceeds range of unsigned long",
                                              static_cast<int>(length));
    }
    const std::int64_t expected = m_pCrcFeature->GetValue();
    return static_cast<std::uint64_t>(expected) ==
           CRC16(GetBuffer(), static_cast<std::uint64_t>(length - kCrcChunkSize));
}

std::uint64_t CUsbChunkParser::CRC16(const void* pData, std::uint64_t length) const {
    return u3v::Crc16(static_cast<const std::uint8_t*>(pData), length);
}

} // namespace Tavix
