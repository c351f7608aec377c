#include "genapi/adapter/EventPortState.h"
#include "genapi/adapter/HexId.h"
#include "genapi/adapter/MapLock.h"
#include "genapi/adapter/PortLink.h"

#include <Base/GCException.h>
#include <GenApi/EventPort.h>
#include <GenApi/INode.h>

#include <cstring>

namespace GenApi {

using genapi::MapLock;

CEventPort::CEventPort(INode* pNode) : m_pState(std::make_unique<State>()) {
    if (pNode) AttachNode(pNode);
}

CEventPort::~CEventPort() {
    try {
        DetachNode();
    } catch (...) {
        // A callback of the application threw while it heard of the detachment; the node is detached all the same.
        m_pState->hasData = false;
    }
}

bool CEventPort::AttachNode(INode* pNode) {
    DetachNode();
    if (!pNode || pNode->GetEventID().empty()) return false;
    m_pState->Attach(pNode);
    if (m_pState->pPort) genapi::ConnectPort(*m_pState->pPort, *this);
    return true;
}

void CEventPort::DetachNode() {
    IPortConstruct* const pPort = m_pState->pPort;
    genapi::PortData data = genapi::PortData::None;
    {
        const MapLock lock(m_pState->pNode);
        if (m_pState->hasData) data = genapi::PortData::Attached;
        m_pState->Drop();
        m_pState->pNode = nullptr;
        m_pState->pPort = nullptr;
        m_pState->id.reset();
    }
    if (pPort) genapi::DisconnectPort(*pPort, *this, data);
}

void CEventPort::AttachEvent(uint8_t* pBaseAddress, int64_t Length) {
    if (!m_pState->pNode) throw LOGICAL_ERROR_EXCEPTION("The event port is not attached to a node.");
    if (Length < 0 || (Length > 0 && !pBaseAddress)) throw INVALID_ARGUMENT_EXCEPTION("The event's data are null.");
    {
        const MapLock lock(m_pState->pNode);
        m_pState->Take(pBaseAddress, static_cast<std::size_t>(Length));
    }
    m_pState->pNode->InvalidateNode();
}

void CEventPort::DetachEvent() {
    if (!m_pState->pNode) return;
    {
        const MapLock lock(m_pState->pNode);
        m_pState->Drop();
    }
    m_pState->pNode->InvalidateNode();
}

int CEventPort::GetEventIDLength() {
    return m_pState->pNode ? static_cast<int>(m_pState->pNode->GetEventID().length() / 2) : 0;
}

bool CEventPort::CheckEventID(uint8_t* pEventIDBuffer, int EventIDLength) {
    if (EventIDLength <= 0) return false;
    const std::optional<uint64_t> id = genapi::LoadId(pEventIDBuffer, static_cast<std::size_t>(EventIDLength));
    return id && CheckEventID(*id);
}

bool CEventPort::CheckEventID(uint64_t EventID) {
    return m_pState->id == EventID;
}

INode* CEventPort::GetNode() {
    return m_pState->pNode;
}

EAccessMode CEventPort::GetAccessMode() const {
    const MapLock lock(m_pState->pNode);
    return m_pState->hasData ? RO : NA;
}

void CEventPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    const MapLock lock(m_pState->pNode);
    if (!m_pState->hasData) throw ACCESS_EXCEPTION("No event data are attached.");
    const int64_t size = static_cast<int64_t>(m_pState->data->size());
    if (Address < 0 || Length < 0 || Address > size || Length > size - Address) {
        throw OUT_OF_RANGE_EXCEPTION("%lld bytes at address %lld lie outside of an event of %lld bytes.",
                                     static_cast<long long>(Length), static_cast<long long>(Address),
                                     static_cast<long long>(size));
    }
    if (Length > 0) std::memcpy(pBuffer, m_pState->data->data() + Address, static_cast<std::size_t>(Length));
}

void CEventPort::Write(const void*, int64_t, int64_t) {
    throw ACCESS_EXCEPTION("Event data cannot be written.");
}

} // namespace GenApi
