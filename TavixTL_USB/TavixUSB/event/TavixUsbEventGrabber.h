#pragma once
// The event channel of one camera.

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "TransportLock.h"
#include "params/UsbEventParams.h"

#include "tavix/EventGrabber.h"
#include "vexlo/VxEventStream.h"

#include <GenApi/Pointer.h>

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
    TransportLock& GetLock() const TAVIX_RETURN_CAPABILITY(m_Lock) { return m_Lock; }

protected:
    /// Takes the lock. A failure of the USB access library is logged and, only if asked for, thrown.
    void InternalClose(bool throwOnError);

private:
    void ObtainEventStream() TAVIX_REQUIRES(m_Lock);
    void OpenEventStream() TAVIX_REQUIRES(m_Lock);
    [[noreturn]] static void FailWithStatus(SourcePlace place, const char* format, unsigned int status);

    mutable TransportLock m_Lock;
    ParamsPtr<Vandrel_UsbEventParams::CUsbEventParamsImpl> m_pParams; // constant after construction
    GenApi::CPointer<GenApi::IInteger> m_ptrStatusReg;                // the only state: 0 closed, 1 open; of m_pParams
    vexlo::CVxDevice* const m_pVxDevice;                              // borrowed
    vexlo::CVxEventStream* m_pVxEventStream TAVIX_GUARDED_BY(m_Lock) = nullptr; // borrowed, may be null
    mutable WaitObjectEx m_WaitObject;                                          // constant after construction
    std::unique_ptr<CEventStreamGrabberPort> m_pPort;                           // constant after construction
};

} // namespace Tavix
