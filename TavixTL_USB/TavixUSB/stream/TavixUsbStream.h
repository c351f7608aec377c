#pragma once
// The image stream of one camera.

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "TransportLock.h"
#include "params/UsbStreamParams.h"

#include "tavix/StreamCallback.h"
#include "tavix/StreamGrabber.h"
#include "tavix/StreamMemory.h"
#include "vexlo/VxStream.h"

#include <GenApi/Pointer.h>

#include <atomic>
#include <exception>
#include <thread>

namespace vexlo {
class CVxDevice;
}

namespace Tavix {

class CTavixUsbDevice;

/// The addresses of its registers are CVxStream::EPropertyValue.
using CStreamGrabberPort = CGenericUsbPort<vexlo::CVxStream>;

///   closed --Open--> open --PrepareGrab--> grabbing --FinishGrab--> open --Close--> closed
///
///   closed:   Open
///   open:     PrepareGrab, DeregisterBuffer, RetrieveResult
///   grabbing: RegisterBuffer, DeregisterBuffer, QueueBuffer, CancelGrab, RetrieveResult, FinishGrab
///   any:      Close, which finishes a grab first
///
/// Each operation holds the grabber's lock from its first check to its end. Thread-safe.
///
/// With a sink the results go to it on the stream's thread, which holds no lock of the grabber: whoever finishes the
/// grab waits for that thread with the lock held.
class CTavixUsbStream : public IStreamGrabber, public IStreamCallback, public IStreamMemory {
public:
    /// Both are borrowed and outlive the grabber. A camera without a stream is noticed by Open.
    CTavixUsbStream(vexlo::CVxDevice* pVxDevice, CTavixUsbDevice* pDevice);
    CTavixUsbStream(const CTavixUsbStream&) = delete;
    CTavixUsbStream& operator=(const CTavixUsbStream&) = delete;
    virtual ~CTavixUsbStream();

    void Open() override;
    void Close() override;
    bool IsOpen() const override;
    StreamBufferHandle RegisterBuffer(void* pBuffer, unsigned long size) override;
    const void* DeregisterBuffer(StreamBufferHandle handle) override;
    void PrepareGrab() override;
    void FinishGrab() override;
    void QueueBuffer(StreamBufferHandle handle, const void* pContext) override;
    void CancelGrab() override;
    bool RetrieveResult(GrabResult& result) override;
    WaitObject& GetWaitObject() const override;
    GenApi::INodeMap* GetNodeMap() override;
    void SetResultSink(IStreamResultSink* pSink) override;
    std::shared_ptr<void> AllocateBuffer(std::size_t size) override;
    std::size_t RequiredSize() override;

    /// For the device, which closes the grabber and so has to take this lock before its own.
    TransportLock& GetLock() const TAVIX_RETURN_CAPABILITY(m_Lock) { return m_Lock; }

protected:
    enum EStreamGrabberState : std::int32_t { Closed = 0, Opened = 1, Grabbing = 2 };

    /// Tells "StatusReg" of a state that is new.
    void SetState(EStreamGrabberState state) TAVIX_REQUIRES(m_Lock);
    EStreamGrabberState GetState() const TAVIX_REQUIRES(m_Lock) { return m_State; }
    const char* GetStateName() const TAVIX_REQUIRES(m_Lock);

private:
    void RequireState(bool allowed, const char* operation, SourcePlace place) const TAVIX_REQUIRES(m_Lock);
    void FindTLParamsLocked() TAVIX_REQUIRES(m_Lock);
    void ObtainStream() TAVIX_REQUIRES(m_Lock);
    void OpenStream() TAVIX_REQUIRES(m_Lock);
    void StartStreaming() TAVIX_REQUIRES(m_Lock);
    void UndoPrepareGrab() TAVIX_REQUIRES(m_Lock);
    void GiveUpGrab() TAVIX_REQUIRES(m_Lock);
    void LockTLParams(bool lock) TAVIX_REQUIRES(m_Lock);
    std::uint64_t ReadRegister(std::uint64_t address) const;
    gcstring RegistrationFailure(unsigned int status, unsigned long size) const;
    template<class Step>
    std::exception_ptr Attempt(Step step) const;
    std::exception_ptr AttemptState(EStreamGrabberState state) TAVIX_REQUIRES(m_Lock);
    std::exception_ptr AttemptToUnlockTLParams() TAVIX_REQUIRES(m_Lock);
    /// With the lock, or on the stream's thread inside the sink: a stream that delivers stays until FinishGrab has
    /// waited for that thread.
    void Queue(StreamBufferHandle handle, const void* pContext) TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    /// On the stream's thread. The stream and the sink are constant while grabbing.
    void DeliverResults() TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    bool IsDelivering() const { return m_Delivering.load() == std::this_thread::get_id(); }
    [[noreturn]] void FailWithStatus(SourcePlace place, const char* format, unsigned int status) const;

    vexlo::CVxDevice* const m_pVxDevice;                              // borrowed
    CTavixUsbDevice* const m_pDevice;                                 // borrowed
    vexlo::CVxStream* m_pVxStream TAVIX_GUARDED_BY(m_Lock) = nullptr; // borrowed, may be null; constant while grabbing
    mutable WaitObjectEx m_WaitObject;                                // constant after construction
    GenApi::CPointer<GenApi::IInteger> m_ptrTLParamsLocked TAVIX_GUARDED_BY(m_Lock); // may be empty
    EStreamGrabberState m_State TAVIX_GUARDED_BY(m_Lock) = Closed;
    IStreamResultSink* m_pSink TAVIX_GUARDED_BY(m_Lock) = nullptr; // borrowed; constant while grabbing
    // The stream's thread inside the sink. A thread compares it with itself, and always sees what it wrote last.
    std::atomic<std::thread::id> m_Delivering{};
    ParamsPtr<Vandrel_UsbStreamParams::CUsbStreamParamsImpl> m_pParams; // constant after construction
    std::unique_ptr<CStreamGrabberPort> m_pPort;                        // constant after construction
    mutable TransportLock m_Lock;
    const gcstring m_DeviceName;
};

} // namespace Tavix
