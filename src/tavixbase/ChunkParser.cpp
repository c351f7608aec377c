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
    try {
        m_pAdapter->AttachAtOnce(AsBytes(pBuffer), length, pStatistics);
    } catch (...) {
        const bool isRefused = !pBuffer || !m_pAdapter->CheckBufferLayout(AsBytes(pBuffer), length);
        if (!isRefused) LetGo();
        throw;
    }
    m_pBuffer = pBuffer;
    m_BufferLength = length;
    m_IsBufferAttached = true;
}

void CChunkParser::DetachBuffer() {
    m_pBuffer = nullptr;
    m_BufferLength = 0;
    m_IsBufferAttached = false;
    m_pAdapter->DetachBuffer();
}

void CChunkParser::UpdateBuffer(const void* pBuffer) {
    RequireBuffer();
    if (!pBuffer) throw INVALID_ARGUMENT_EXCEPTION("Invalid buffer passed to UpdateBuffer.");
    try {
        m_pAdapter->UpdateBuffer(AsBytes(pBuffer));
    } catch (...) {
        LetGo();
        throw;
    }
    m_pBuffer = pBuffer;
}

// After a callback of the application threw, when some features may show one buffer and some another.
void CChunkParser::LetGo() {
    try {
        CChunkParser::DetachBuffer();
    } catch (...) {
        // What was thrown first is on its way to the caller; all is detached all the same.
    }
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
