#include <GenApi/PortImpl.h>

namespace GenApi {

CPortImpl::CPortImpl() : m_pNode(nullptr) {}

CPortImpl::~CPortImpl() = default;

INode* CPortImpl::GetNode() const {
    return m_pNode;
}

INodeMap* CPortImpl::GetNodeMap() const {
    return m_pNode ? m_pNode->GetNodeMap() : nullptr;
}

void CPortImpl::SetNode(INode* pNode) {
    m_pNode = pNode;
}

void CPortImpl::InvalidateNode() {
    if (m_pNode) m_pNode->InvalidateNode();
}

} // namespace GenApi
