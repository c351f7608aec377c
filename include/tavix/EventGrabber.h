#pragma once
// The event channel of a device as applications see it.

#include "core/WaitObject.h"
#include "tavix/Export.h"
#include "tavix/Result.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// Owned by its device. Failures are GenICam exceptions. Thread-safe; callbacks of nodes call it as they call a stream
/// grabber, see there.
class TAVIX_BASE_API IEventGrabber {
public:
    /// Claims the event channel. LogicalErrorException when it is open, or the device is not.
    virtual void Open() = 0;
    /// Events that nobody retrieved are lost. Wakes all who wait for events; what they call then throws.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    /// Takes the oldest event, whose message goes to an event adapter. False when no event is pending.
    /// LogicalErrorException when the grabber is not open.
    virtual bool RetrieveEvent(EventResult& result) = 0;
    /// Signalled while events are pending, and from Close to the next Open.
    virtual WaitObject& GetWaitObject() const = 0;
    /// The event channel's parameters. Owned by the event grabber.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IEventGrabber() = default;
};

/// Hands event messages to a node map. Bound to a thread. A second adapter of the same device takes the event features;
/// until it is destroyed, DeliverMessage of the first one throws LogicalErrorException.
class TAVIX_BASE_API IEventAdapter {
public:
    /// Delivers one message of `numBytes` bytes, borrowed for the call. Callbacks of the nodes of its event run in this
    /// thread before it returns. RuntimeException for a bad message.
    virtual void DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) = 0;

protected:
    ~IEventAdapter() = default;
};

} // namespace Tavix
