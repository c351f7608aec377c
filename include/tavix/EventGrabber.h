#pragma once
// The event channel of a device as applications see it.

#include "core/WaitObject.h"
#include "tavix/Result.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// Failures are GenICam exceptions. Thread-safe.
class IEventGrabber {
public:
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    /// False when no event is pending.
    virtual bool RetrieveEvent(EventResult& result) = 0;
    /// Signalled while events are pending.
    virtual WaitObject& GetWaitObject() const = 0;
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IEventGrabber() = default;
};

/// Hands event messages to a node map. Bound to a thread.
class IEventAdapter {
public:
    /// `msg` is borrowed for the call. Throws RuntimeException for a bad message.
    virtual void DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) = 0;

protected:
    ~IEventAdapter() = default;
};

} // namespace Tavix
