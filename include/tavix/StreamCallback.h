#pragma once
// Results on the thread that took them off the bus: an optional interface of stream grabbers.

#include <tavix/Export.h>
#include <tavix/Result.h>

namespace Tavix {

/// Who receives results.
class TAVIX_BASE_API IStreamResultSink {
public:
    /// One completed buffer, which is the application's again, called as RetrieveResult would give it: in order, one
    /// after the other, no lock held. It may queue buffers, not finish the grab or close. What it takes long for delays
    /// the stream. Lets no exception out.
    virtual void OnResult(const GrabResult& result) noexcept = 0;

protected:
    ~IStreamResultSink() = default;
};

/// Found by dynamic_cast from an IStreamGrabber; null where the grabber has none. The order of the operations is part
/// of the binary interface. Thread-safe.
class TAVIX_BASE_API IStreamCallback {
public:
    /// From the next PrepareGrab on results go to the sink, and RetrieveResult has none; null takes the road by
    /// RetrieveResult again. The sink is borrowed and not called any more once FinishGrab or Close has returned. Both
    /// wait for a call that runs, perhaps with locks held; so a sink waits for nobody who finishes the grab or closes
    /// the device. Canceled results reach the sink before FinishGrab returns. LogicalErrorException while a grab is
    /// prepared.
    virtual void SetResultSink(IStreamResultSink* pSink) = 0;

protected:
    ~IStreamCallback() = default;
};

} // namespace Tavix
