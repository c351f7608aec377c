#include "genapi/nodes/register/PortNode.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Operation.h"

#include <GenApi/PortImpl.h>

namespace genapi {

void PortNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::SwapEndianess) { // sic
        m_SwapsBytes = ParseYesNo(property.record.value).value_or(false);
    }
    if (property.record.id == PropertyId::pChunkID) m_pChunkId = property.pTarget;
    Node::Bind(property);
}

GenApi::EAccessMode PortNode::TargetAccess() {
    const GenApi::EAccessMode mode = m_pPort ? m_pPort->GetAccessMode() : GenApi::NI;
    if (!GenApi::IsAvailable(mode)) Host().Modes().NoteClosedPort();
    return mode;
}

GenApi::IPort& PortNode::Connected(const char* operation) {
    if (!m_pPort) ThrowAccess(*this, operation, "No port is connected to '" + std::string(Name()) + "'.");
    return *m_pPort;
}

void PortNode::ReadBytes(void* pBuffer, int64_t address, int64_t length) {
    Connected("Read").Read(pBuffer, address, length);
}

void PortNode::WriteBytes(const void* pBuffer, int64_t address, int64_t length) {
    Connected("Write").Write(pBuffer, address, length);
}

void PortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
    const GenApi::AutoLock lock(Host().Lock());
    ReadBytes(pBuffer, Address, Length);
}

void PortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    const GenApi::AutoLock lock(Host().Lock());
    WriteBytes(pBuffer, Address, Length);
}

void PortNode::SetPortImpl(GenApi::IPort* pPort) {
    ChangeFrame frame(Host());
    // The port that was connected before may be gone already, so it is not told.
    m_pPort = pPort;
    if (auto* const pNew = dynamic_cast<GenApi::CPortImpl*>(m_pPort)) pNew->SetNode(this);
    frame.Invalidate({Index()});
    frame.Finish();
}

void PortNode::ConnectQuietly(GenApi::IPort& port) {
    const GenApi::AutoLock lock(Host().Lock());
    m_pPort = &port;
    DropCaches();
}

void PortNode::DropCaches() {
    Host().Modes().NextGeneration();
    for (const NodeIndex node : Host().Reach().Of({Index()}))
        Host().Caches().SetInvalid(node);
}

void PortNode::DisconnectQuietly(const GenApi::IPort* pPort) {
    const GenApi::AutoLock lock(Host().Lock());
    if (m_pPort != pPort) return;
    m_pPort = nullptr;
    DropCaches();
}

void PortNode::Disconnect(const GenApi::IPort* pPort) {
    ChangeFrame frame(Host());
    if (m_pPort == pPort) {
        m_pPort = nullptr;
        frame.Invalidate({Index()});
    }
    frame.Finish();
}

std::string PortNode::DoReadText(ReadFlags flags) {
    return m_pChunkId ? m_pChunkId->ReadText(flags) : std::string(PropertyText(PropertyId::ChunkID));
}

} // namespace genapi
