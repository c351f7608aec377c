#pragma once
// The image stream of a device as applications see it.

#include "core/WaitObject.h"
#include "tavix/Result.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// Failures are GenICam exceptions. Thread-safe.
class IStreamGrabber {
public:
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    /// The buffer stays the caller's and must live until it is deregistered. `size` in bytes.
    virtual StreamBufferHandle RegisterBuffer(void* pBuffer, unsigned long size) = 0;
    /// Returns the buffer pointer given at registration.
    virtual const void* DeregisterBuffer(StreamBufferHandle handle) = 0;
    virtual void PrepareGrab() = 0;
    virtual void FinishGrab() = 0;
    virtual void QueueBuffer(StreamBufferHandle handle, const void* pContext = nullptr) = 0;
    virtual void CancelGrab() = 0;
    /// False when nothing has completed.
    virtual bool RetrieveResult(GrabResult& result) = 0;
    /// Signalled while results are pending.
    virtual WaitObject& GetWaitObject() const = 0;
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IStreamGrabber() = default;
};

} // namespace Tavix
