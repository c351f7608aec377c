#pragma once
// Hands USB3 Vision event messages to a camera's node map.

#include "tavix/EventGrabber.h"

#include <GenApi/EventAdapterGeneric.h>

#include <atomic>
#include <memory>

namespace Tavix {

/// Stateless between messages. Bound to a thread, but for LosePorts and
/// RegainPorts.
class CTavixUsbEventAdapter final : public IEventAdapter {
public:
    /// Binds the event ports of the node map, which must outlive the adapter.
    explicit CTavixUsbEventAdapter(GenApi::INodeMap* pCameraNodeMap);

    /// One message holds one event; bytes beyond its length field are handed on as they are. RuntimeException for a
    /// message that is none.
    void DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) override;

    /// Another adapter takes the event ports. From now on a good message gives LogicalErrorException.
    void LosePorts() { m_HasPorts = false; }
    /// The ports are its own again, without data before the next message.
    void RegainPorts();

private:
    GenApi::INodeMap* const m_pNodeMap; // borrowed
    std::atomic<bool> m_HasPorts{true};
    std::unique_ptr<GenApi::CEventAdapterGeneric> m_pAdapter;
};

} // namespace Tavix
