#include "chunk/SelfReliantUsbChunkParser.h"

namespace Tavix {

CSelfReliantUsbChunkParser::CSelfReliantUsbChunkParser(const boost::shared_ptr<GenApi::CNodeMapRef>& pChunkNodeMapRef)
    : ChunkNodeMapHolder{pChunkNodeMapRef}, CUsbChunkParser(pChunkNodeMapRef->_Ptr) {}

GenApi::INodeMap* CSelfReliantUsbChunkParser::GetChunkDataNodeMap() {
    return m_pChunkNodeMapRef->_Ptr;
}

void CSelfReliantUsbChunkParser::Destroy() {
    const boost::shared_ptr<GenApi::CNodeMapRef> outlivesTheParser = m_pChunkNodeMapRef;
    delete this;
}

} // namespace Tavix
