#pragma once
// The event channel of one camera.

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "params/UsbEventParams.h"

#include "tavix/EventGrabber.h"
#include "vexlo/VxEventStream.h"

#include <GenApi/Pointer.h>
#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

namespace vexlo {
class CVxDevice;
}

namespace Tavix {

/// The addresses of its registers are CVxEventStream::EPropertyValue.
using CEventStreamGrabberPort = CGenericUsbPort<vexlo::CVxEventStream>;

///   closed --Open--> open --Close--> closed
///
/// Each operation holds the grabber's lock from its first check to its end. Thread-safe.
class CTavixUsbEventGrabber : public IEventGrabber {
public:
    /// Borrowed; outlives the grabber. A camera without events is noticed by Open.
    explicit CTavixUsbEventGrabber(vexlo::CVxDevice* pVxDevice);
    CTavixUsbEventGrabber(const CTavixUsbEventGrabber&) = delete;
    CTavixUsbEventGrabber& operator=(const CTavixUsbEventGrabber&) = delete;
    virtual ~CTavixUsbEventGrabber();

    void Open() override;
    /// A failure of the USB access library is logged, never thrown.
    void Close() override;
    bool IsOpen() const override;
    bool RetrieveEvent(EventResult& result) override;
    WaitObject& GetWaitObject() const override;
    GenApi::INodeMap* GetNodeMap() override;

    /// For the device, which closes the grabber and so has to take this lock before its own.
    boost::recursive_mutex& GetLock() const { return m_Lock; }

protected:
    /// Takes the lock. A failure of the USB access library is logged and, only if asked for, thrown.
    void InternalClose(bool throwOnError);

private:
    using Guard = boost::unique_lock<boost::recursive_mutex>;

    // The operations below want the lock held.
    void ObtainEventStream();
    void OpenEventStream();
    [[noreturn]] static void FailWithStatus(SourcePlace place, const char* format, unsigned int status);

    mutable boost::recursive_mutex m_Lock;
    ParamsPtr<Vandrel_UsbEventParams::CUsbEventParamsImpl> m_pParams; // constant after construction
    GenApi::CPointer<GenApi::IInteger> m_ptrStatusReg;                // the only state: 0 closed, 1 open; of m_pParams
    vexlo::CVxDevice* const m_pVxDevice;                              // borrowed
    vexlo::CVxEventStream* m_pVxEventStream = nullptr;                // borrowed, may be null; guarded by m_Lock
    mutable WaitObjectEx m_WaitObject;                                // constant after construction
    std::unique_ptr<CEventStreamGrabberPort> m_pPort;                 // constant after construction
};

} // namespace Tavix
