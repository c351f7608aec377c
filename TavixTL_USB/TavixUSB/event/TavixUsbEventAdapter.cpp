#include "event/TavixUsbEventAdapter.h"

#include "Failure.h"

#include "u3v/EventPacket.h"

#include <GenApi/Synch/Lock.h>

namespace Tavix {
CTavixUsbEventAdapter::CTavixUsbEventAdapter(GenApi::INodeMap* pCameraNodeMap)
    : m_pNodeMap(pCameraNodeMap), m_pAdapter(std::make_unique<GenApi::CEventAdapterGeneric>(pCameraNodeMap)) {}

void CTavixUsbEventAdapter::DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) {
    const u3v::ByteView message{msg, msg ? numBytes : 0};
    const auto packet = u3v::DecodeEvent(message);
    if (!packet) {
        Throw<GenICam::RuntimeException>(Here(), "Cannot deliver bad USB event message.");
    }
    if (!m_HasPorts) {
        Throw<GenICam::LogicalErrorException>(
            Here(), "Another event adapter of this device has the event features until it is destroyed.");
    }
    const u3v::ByteView event = message.From(u3v::event::kHeaderSize);
    m_pAdapter->DeliverMessage(event.data, static_cast<std::uint32_t>(event.size), std::uint64_t{packet->firstId});
}

void CTavixUsbEventAdapter::RegainPorts() {
    if (!m_pNodeMap) return;
    const GenApi::AutoLock guard(m_pNodeMap->GetLock()); // a message may be on its way through the old ports
    m_pAdapter->AttachNodeMap(m_pNodeMap);
    m_HasPorts = true;
}

} // namespace Tavix
