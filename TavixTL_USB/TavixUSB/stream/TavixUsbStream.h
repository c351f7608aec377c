#pragma once
// The image stream of one camera.

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "params/UsbStreamParams.h"

#include "tavix/StreamCallback.h"
#include "tavix/StreamGrabber.h"
#include "tavix/StreamMemory.h"
#include "vexlo/VxStream.h"

#include <GenApi/Pointer.h>
#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

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
    boost::recursive_mutex& GetLock() const { return m_Lock; }

protected:
    enum EStreamGrabberState : std::int32_t { Closed = 0, Opened = 1, Grabbing = 2 };

    // All operations below want the lock held.
    /// Tells "StatusReg" of a state that is new.
    void SetState(EStreamGrabberState state);
    EStreamGrabberState GetState() const { return m_State; }
    const char* GetStateName() const;

private:
    using Guard = boost::unique_lock<boost::recursive_mutex>;

    void RequireState(bool allowed, const char* operation, SourcePlace place) const;
    void FindTLParamsLocked();
    void ObtainStream();
    void OpenStream();
    void StartStreaming();
    void UndoPrepareGrab();
    void GiveUpGrab();
    void LockTLParams(bool lock);
    std::uint64_t ReadRegister(std::uint64_t address) const;
    gcstring RegistrationFailure(unsigned int status, unsigned long size) const;
    template<class Step>
    std::exception_ptr Attempt(Step step) const;
    void DeliverResults();
    bool IsDelivering() const { return m_Delivering.load() == std::this_thread::get_id(); }
    [[noreturn]] void FailWithStatus(SourcePlace place, const char* format, unsigned int status) const;

    vexlo::CVxDevice* const m_pVxDevice;                    // borrowed
    CTavixUsbDevice* const m_pDevice;                       // borrowed
    vexlo::CVxStream* m_pVxStream = nullptr;                // borrowed, may be null; guarded by m_Lock
    mutable WaitObjectEx m_WaitObject;                      // constant after construction
    GenApi::CPointer<GenApi::IInteger> m_ptrTLParamsLocked; // may be empty; guarded by m_Lock
    EStreamGrabberState m_State = Closed;                   // guarded by m_Lock
    IStreamResultSink* m_pSink = nullptr;                   // borrowed; constant while grabbing
    // The stream's thread inside the sink. A thread compares it with itself, and always sees what it wrote last.
    std::atomic<std::thread::id> m_Delivering{};
    ParamsPtr<Vandrel_UsbStreamParams::CUsbStreamParamsImpl> m_pParams; // constant after construction
    std::unique_ptr<CStreamGrabberPort> m_pPort;                        // constant after construction
    mutable boost::recursive_mutex m_Lock;
    const gcstring m_DeviceName;
};

} // namespace Tavix
