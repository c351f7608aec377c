#pragma once
// The image stream of a device as applications see it.

#include "core/WaitObject.h"
#include "tavix/Export.h"
#include "tavix/Result.h"

namespace GenApi {
struct INodeMap;
}

namespace Tavix {

/// Owned by its device. Failures are GenICam exceptions: LogicalErrorException for a call that does not fit the state,
/// RuntimeException when bus or camera fail. Thread-safe, but all operations take the grabber's lock, which comes
/// before that of the camera's node map: a callback that runs inside that lock (GenApi::cbPostInsideLock) calls none of
/// them, IsOpen and GetWaitObject included; one that runs outside (GenApi::cbPostOutsideLock) may call all.
///
/// \verbatim
///   closed --Open--> open --PrepareGrab--> prepared --FinishGrab--> open --Close--> closed
/// \endverbatim
class TAVIX_BASE_API IStreamGrabber {
public:
    /// Claims the image stream. The device must be open.
    virtual void Open() = 0;
    /// Finishes a grab that is prepared, too. Completed buffers that nobody retrieved are lost, not their memory. Wakes
    /// all who wait for results; what they call then throws.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    /// Makes memory known; the grab must be prepared. The buffer stays the caller's and must live until it is
    /// deregistered. `size` in bytes: at most "MaxBufferSize", and PayloadSize of the camera for whole images.
    virtual StreamBufferHandle RegisterBuffer(void* pBuffer, unsigned long size) = 0;
    /// Returns the buffer pointer given at registration. The buffer must not be queued.
    virtual const void* DeregisterBuffer(StreamBufferHandle handle) = 0;
    /// Sizes the stream by "MaxNumBuffer" and "MaxBufferSize" and locks the camera's features that the size of an image
    /// depends on. Start the acquisition afterwards.
    virtual void PrepareGrab() = 0;
    /// Ends the stream and unlocks the features. Buffers that are queued complete as Canceled; all results can be
    /// retrieved until Close.
    virtual void FinishGrab() = 0;
    /// Hands a registered buffer to the library, which writes to it until its result is retrieved. Buffers are filled
    /// in the order of queuing. `pContext` comes back with the result and is not looked at.
    virtual void QueueBuffer(StreamBufferHandle handle, const void* pContext = nullptr) = 0;
    /// Completes every queued buffer as Canceled, in the order of queuing. The grab stays prepared.
    virtual void CancelGrab() = 0;
    /// Takes the oldest completed buffer, which is the application's again. False when nothing has completed. A failed
    /// image is no exception: see GrabResult::Succeeded.
    virtual bool RetrieveResult(GrabResult& result) = 0;
    /// Signalled from Close to the next Open and while results are pending; each wait takes the signal, so retrieve
    /// until there is nothing more.
    virtual WaitObject& GetWaitObject() const = 0;
    /// The stream's parameters: "MaxNumBuffer", "MaxBufferSize" (bytes), "MaxTransferSize" (bytes), "NumMaxQueuedUrbs",
    /// "TransferLoopThreadPriority", and statistics. Owned by the stream grabber.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IStreamGrabber() = default;
};

} // namespace Tavix
