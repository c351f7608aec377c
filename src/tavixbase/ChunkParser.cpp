#include "tavix/ChunkParser.h"

#include <GenApi/ChunkAdapter.h>

namespace Tavix {
namespace {

// The adapter takes bytes that may be written, because chunk features may; a parser's buffer is only read by it.
std::uint8_t* AsBytes(const void* pBuffer) {
    return static_cast<std::uint8_t*>(const_cast<void*>(pBuffer));
}

} // namespace

CChunkParser::CChunkParser(GenApi::CChunkAdapter* pAdapter) : m_pAdapter(pAdapter) {
    if (!pAdapter) throw INVALID_ARGUMENT_EXCEPTION("A chunk parser needs a chunk adapter.");
}

CChunkParser::~CChunkParser() = default;

void CChunkParser::AttachBuffer(const void* pBuffer, std::int64_t length, GenApi::AttachStatistics_t* pStatistics) {
    m_pAdapter->AttachAtOnce(AsBytes(pBuffer), length, pStatistics);
    m_pBuffer = pBuffer;
    m_BufferLength = length;
    m_IsBufferAttached = true;
}

void CChunkParser::DetachBuffer() {
    m_pAdapter->DetachBuffer();
    m_pBuffer = nullptr;
    m_BufferLength = 0;
    m_IsBufferAttached = false;
}

void CChunkParser::UpdateBuffer(const void* pBuffer) {
    RequireBuffer();
    if (!pBuffer) throw INVALID_ARGUMENT_EXCEPTION("Invalid buffer passed to UpdateBuffer.");
    m_pAdapter->UpdateBuffer(AsBytes(pBuffer));
    m_pBuffer = pBuffer;
}

bool CChunkParser::HasCRC() const {
    RequireBuffer();
    return false;
}

bool CChunkParser::CheckCRC() {
    RequireBuffer();
    throw LOGICAL_ERROR_EXCEPTION("CRC data is not available.");
}

void CChunkParser::RequireBuffer() const {
    if (!m_IsBufferAttached) throw LOGICAL_ERROR_EXCEPTION("No buffer attached.");
}

} // namespace Tavix
