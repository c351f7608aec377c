#pragma once
// Checks USB3 Vision event messages and hands them to a node map.

#include "tavix/EventGrabber.h"

#include <GenApi/EventAdapterGeneric.h>

#include <memory>

namespace Tavix {

/// The node map is borrowed and outlives the adapter. Bound to a thread.
class CTavixUsbEventAdapter final : public IEventAdapter {
public:
    explicit CTavixUsbEventAdapter(GenApi::INodeMap* pNodeMap);

    /// RuntimeException for a message that is malformed or no event.
    void DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) override;

private:
    std::unique_ptr<GenApi::CEventAdapterGeneric> m_pAdapter; // constant after construction
};

} // namespace Tavix
