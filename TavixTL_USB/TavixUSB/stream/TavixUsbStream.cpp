#include "stream/TavixUsbStream.h"

#include "device/TavixUsbDevice.h"
#include "stream/UsbGrabResult.h"

#include "core/Format.h"
#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "vexlo/VxDevice.h"

namespace Tavix {

using GenICam::InvalidArgumentException;
using GenICam::LogicalErrorException;
using GenICam::RuntimeException;

namespace {

constexpr char kStreamPortName[] = "StreamGrabberPort";

vexlo::BufferHandle_s* UsbHandle(StreamBufferHandle handle) {
    return static_cast<vexlo::BufferHandle_s*>(handle);
}

} // namespace

CTavixUsbStream::CTavixUsbStream(vexlo::CVxDevice* pVxDevice, CTavixUsbDevice* pDevice)
    : m_pVxDevice(pVxDevice), m_pDevice(pDevice), m_WaitObject(WaitObjectEx::Create(/*manualReset=*/false)),
      m_pParams(Vandrel_UsbStreamParams::CUsbStreamParamsImpl::Create("")), m_pPort(new CStreamGrabberPort),
      m_DeviceName(pDevice->GetDeviceInfo().GetFullName()) {
    LogTrace(LogCategoryStream(), kLogInfo, "Creating stream grabber for device '%hs'.", m_DeviceName.c_str());
    const unsigned int status = m_pVxDevice->GetStream(&m_pVxStream);
    if (status != 0) {
        m_pVxStream = nullptr;
        LogTrace(LogCategoryStream(), kLogError, "Failed to create stream grabber for device '%hs'. Error: '%hs'",
                 m_DeviceName.c_str(), VxStatus2Msg(status).c_str());
    }
    m_pPort->SetObject(m_pVxStream);
    m_pParams->InvalidateNodes();
    m_pParams->Connect(m_pPort.get(), kStreamPortName);
    LogTrace(LogCategoryStream(), kLogInfo, "Created stream grabber for device '%hs' successfully.",
             m_DeviceName.c_str());
}

CTavixUsbStream::~CTavixUsbStream() {
    LogTrace(LogCategoryStream(), kLogInfo, "Destroying stream grabber for device '%hs'.", m_DeviceName.c_str());
    try {
        const TransportGuard guard(m_Lock);
        if (m_State != Closed) {
            LogTrace(LogCategoryStream(), kLogWarning,
                     "Streamg rabber still open on destruction. " // sic
                     "Call IStreamGrabber::Close before destroying the stream grabber/device");
            CTavixUsbStream::Close();
        }
    } catch (...) { // callbacks of "TLParamsLocked" may throw anything
        LogTrace(LogCategoryStream(), kLogError, "Failed to close stream grabber for device '%hs' on destruction.",
                 m_DeviceName.c_str());
    }
    LogTrace(LogCategoryStream(), kLogInfo, "Destroyed stream grabber for device '%hs' successfully.",
             m_DeviceName.c_str());
}

bool CTavixUsbStream::IsOpen() const {
    const TransportGuard guard(m_Lock);
    return m_State != Closed;
}

WaitObject& CTavixUsbStream::GetWaitObject() const {
    const TransportGuard guard(m_Lock);
    return m_WaitObject;
}

GenApi::INodeMap* CTavixUsbStream::GetNodeMap() {
    const TransportGuard guard(m_Lock);
    return m_pParams.get();
}

void CTavixUsbStream::Open() {
    LogTrace(LogCategoryStream(), kLogInfo, "Opening stream grabber for device '%hs'", m_DeviceName.c_str());
    const TransportGuard guard(m_Lock);
    if (m_State != Closed) {
        LogAndThrow<LogicalErrorException>(LogCategoryStream(), Here(),
                                           "Stream fro device '%hs' is already open", // sic
                                           m_DeviceName.c_str());
    }
    const bool ready = m_pDevice->IsOpen() && m_pVxStream;
    if (!ready && !m_pVxDevice->IsOpen()) {
        LogAndThrow<LogicalErrorException>(LogCategoryStream(), Here(),
                                           "Device '%hs' is not opened. Open device before opening the stream grabber!",
                                           m_DeviceName.c_str());
    }
    FindTLParamsLocked();
    ObtainStream();
    m_WaitObject.Lower(); // raised by the last Close
    OpenStream();
    if (const std::exception_ptr thrown = AttemptState(Opened)) {
        static_cast<void>(m_pVxStream->Close());
        AttemptState(Closed);
        std::rethrow_exception(thrown);
    }
    LogTrace(LogCategoryStream(), kLogInfo, "Opened stream grabber for device '%hs' successfully",
             m_DeviceName.c_str());
}

void CTavixUsbStream::ObtainStream() {
    if (m_pVxStream) return;
    const unsigned int status = m_pVxDevice->GetStream(&m_pVxStream);
    if (status != 0) {
        m_pVxStream = nullptr;
        FailWithStatus(Here(), "Failed to create vx stream grabber for device '%hs'. Error: '%hs'", status);
    }
    m_pPort->SetObject(m_pVxStream);
    m_pParams->InvalidateNodes();
    if (!m_pVxStream) Throw<RuntimeException>(Here(), "Internal fatal error (m_pVxStream == NULL )");
}

void CTavixUsbStream::OpenStream() {
    unsigned int status = m_pVxStream->RegisterWaitObject(m_WaitObject.GetHandle());
    if (status != 0) {
        m_pVxStream = nullptr;
        FailWithStatus(Here(), "Failed to register wait object for device '%hs'. Error: '%hs'", status);
    }
    status = m_pVxStream->Open();
    if (status != 0) {
        // A stream that did not open may hold half of what it needs; the first failure is the one to report.
        static_cast<void>(m_pVxStream->Close());
        FailWithStatus(Here(), "Failed to open vx stream grabber for device '%hs'. Error: '%hs'", status);
    }
}

void CTavixUsbStream::Close() {
    LogTrace(LogCategoryStream(), kLogInfo, "Closing stream grabber for device '%hs'.", m_DeviceName.c_str());
    const TransportGuard guard(m_Lock);
    if (m_State == Grabbing) {
        LogTrace(LogCategoryStream(), kLogWarning,
                 "Stream grabber for device '%hs' still grabbing. "
                 "Call ITavix::Streamgrabber::FinishGrab before closing the stream grabber.",
                 m_DeviceName.c_str());
        // As an heir finishes, or as this class does while it is destroyed.
        FinishGrab(); // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    }
    if (m_pVxStream && m_pVxDevice->IsOpen() && m_pVxStream->IsOpen()) {
        const unsigned int status = m_pVxStream->Close();
        if (status != 0) {
            LogTrace(LogCategoryStream(), kLogWarning,
                     "Failed to close vx stream grabber for device '%hs'. Error: '%hs'", m_DeviceName.c_str(),
                     VxStatus2Msg(status).c_str());
        }
    }
    const bool wasOpen = m_State != Closed;
    SetState(Closed);
    if (wasOpen) m_WaitObject.Raise(); // or whoever waits for a result would wait for ever
    LogTrace(LogCategoryStream(), kLogInfo, "Closed stream grabber for device '%hs' successfully.",
             m_DeviceName.c_str());
}

StreamBufferHandle CTavixUsbStream::RegisterBuffer(void* pBuffer, unsigned long size) {
    if (!pBuffer) {
        LogAndThrow<InvalidArgumentException>(LogCategoryStream(), Here(),
                                              "Invalid Buffer passed to RegisterBuffer for device %'%hs'", // sic
                                              m_DeviceName.c_str());
    }
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Grabbing, "RegisterBuffer", Here());
    vexlo::BufferHandle_s* pHandle = nullptr;
    const unsigned int status = m_pVxStream->RegisterBuffer(pBuffer, size, &pHandle);
    if (status != 0) {
        LogAndThrow<RuntimeException>(LogCategoryStream(), Here(),
                                      "Failed to register buffer at vx stream for device %'hs'. Error: '%hs'", // sic
                                      m_DeviceName.c_str(), RegistrationFailure(status, size).c_str());
    }
    return pHandle;
}

gcstring CTavixUsbStream::RegistrationFailure(unsigned int status, unsigned long size) const {
    const gcstring text = VxStatus2Msg(status);
    const auto allowed = static_cast<unsigned long>(m_pParams->MaxBufferSize().GetValue());
    if (status != vexlo::VX_E_INVALID_SIZE || size <= allowed) return text;
    return text + Format(" The buffer has %lu bytes, and MaxBufferSize allows %lu.", size, allowed);
}

const void* CTavixUsbStream::DeregisterBuffer(StreamBufferHandle handle) {
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Opened || m_State == Grabbing, "RegisterBuffer", Here()); // sic
    void* pBuffer = nullptr;
    const unsigned int status = m_pVxStream->DeregisterBuffer(UsbHandle(handle), &pBuffer);
    if (status != 0) {
        FailWithStatus(Here(), "Failed to deregister buffer at vx stream for device '%hs'. Error: '%hs'", status);
    }
    return pBuffer;
}

void CTavixUsbStream::SetResultSink(IStreamResultSink* pSink) {
    const TransportGuard guard(m_Lock);
    RequireState(m_State != Grabbing, "SetResultSink", Here());
    m_pSink = pSink;
}

[[gnu::hot]] void CTavixUsbStream::DeliverResults() {
    m_Delivering = std::this_thread::get_id();
    vexlo::CVxStream::GrabResult usbResult = {};
    for (unsigned long left = 1; left != 0 && m_pVxStream->RetrieveBuffer(&usbResult, &left) == vexlo::VX_OK;) {
        GrabResult result;
        FillGrabResult(usbResult, result);
        m_pSink->OnResult(result);
    }
    m_Delivering = std::thread::id();
}

std::shared_ptr<void> CTavixUsbStream::AllocateBuffer(std::size_t size) {
    const TransportGuard guard(m_Lock);
    RequireState(m_State != Closed, "AllocateBuffer", Here());
    return m_pVxStream->ShareMemory(size);
}

/// 0 when it cannot be read.
std::uint64_t CTavixUsbStream::ReadRegister(std::uint64_t address) const {
    std::uint8_t bytes[8] = {};
    unsigned long count = sizeof bytes;
    const unsigned int status = m_pVxDevice->ReadMem(bytes, address, &count);
    return status == 0 && count == sizeof bytes ? u3v::Load64(bytes) : 0;
}

std::size_t CTavixUsbStream::RequiredSize() {
    const TransportGuard guard(m_Lock);
    const std::uint64_t sbrm = ReadRegister(u3v::abrm::kSbrmAddress);
    const std::uint64_t sirm = sbrm == 0 ? 0 : ReadRegister(sbrm + u3v::sbrm::kSirmAddress);
    return sirm == 0 ? 0 : ReadRegister(sirm + u3v::sirm::kRequiredPayloadSize);
}

void CTavixUsbStream::PrepareGrab() {
    LogTrace(LogCategoryStream(), kLogInfo, "Preparing grab for device '%hs'.", m_DeviceName.c_str());
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Opened, "PrepareGrab", Here());
    const auto maxNumBuffer = static_cast<unsigned long>(m_pParams->MaxNumBuffer().GetValue());
    const auto maxBufferSize = static_cast<unsigned long>(m_pParams->MaxBufferSize().GetValue());
    m_pVxStream->SetCompletionListener(m_pSink ? std::function<void()>([this] { DeliverResults(); }) : nullptr);
    const unsigned int status = m_pVxStream->PrepareGrab(maxNumBuffer, maxBufferSize);
    if (status != 0) FailWithStatus(Here(), "PrepareGrab failed for device '%hs'. Error: '%hs'", status);
    StartStreaming();
    try {
        LockTLParams(true);
        SetState(Grabbing);
    } catch (...) {
        GiveUpGrab(); // or the camera would stream into a grabber that nobody can finish
        throw;
    }
    LogTrace(LogCategoryStream(), kLogInfo, "Prepared grab for device '%hs' successfully.", m_DeviceName.c_str());
}

void CTavixUsbStream::StartStreaming() {
    const unsigned int status = m_pVxStream->StartStreaming();
    if (status == 0) return;
    constexpr char kFailure[] = "PrepareGrab (StartStreaming) failed for device '%hs'. Error: '%hs'";
    const gcstring text = VxStatus2Msg(status);
    LogTrace(LogCategoryStream(), kLogError, kFailure, m_DeviceName.c_str(), text.c_str());
    UndoPrepareGrab();
    Throw<RuntimeException>(Here(), kFailure, m_DeviceName.c_str(), text.c_str());
}

void CTavixUsbStream::UndoPrepareGrab() {
    const unsigned int status = m_pVxStream->FinishGrab();
    if (status == 0) return;
    LogTrace(LogCategoryStream(), kLogWarning,
             "vxFinishGrab grab during clean up failed for device '%hs'. Error: '%hs'", m_DeviceName.c_str(),
             VxStatus2Msg(status).c_str());
}

void CTavixUsbStream::GiveUpGrab() {
    AttemptState(Opened);
    UndoPrepareGrab();
    AttemptToUnlockTLParams();
}

void CTavixUsbStream::FinishGrab() {
    LogTrace(LogCategoryStream(), kLogInfo, "Finishing grab for device '%hs'.", m_DeviceName.c_str());
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Grabbing, "FinishGrab", Here());
    // First, so that a failure below leaves a grabber that can be used again.
    std::exception_ptr thrown = AttemptState(Opened);
    const unsigned int status = m_pVxStream->IsPrepared() ? m_pVxStream->FinishGrab() : vexlo::VX_OK;
    const std::exception_ptr unlockFailure = AttemptToUnlockTLParams();
    if (!thrown) thrown = unlockFailure;
    if (status != 0) {
        const gcstring text = VxStatus2Msg(status);
        LogTrace(LogCategoryStream(), kLogError, "FinishGrab failed for device '%hs'. Error: '%hs'",
                 m_DeviceName.c_str(), text.c_str());
        Throw<RuntimeException>(Here(), "FinishGrab() failed: %s", text.c_str());
    }
    if (thrown) std::rethrow_exception(thrown);
    LogTrace(LogCategoryStream(), kLogInfo, "Finished grab for device '%hs' successfully.", m_DeviceName.c_str());
}

[[gnu::hot]] void CTavixUsbStream::QueueBuffer(StreamBufferHandle handle, const void* pContext) {
    // The lock may be held by who waits for this thread, and the stream knows its state.
    if (IsDelivering()) return Queue(handle, pContext);
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Grabbing, "QueueBuffer", Here());
    Queue(handle, pContext);
}

[[gnu::hot]] void CTavixUsbStream::Queue(StreamBufferHandle handle, const void* pContext) {
    const unsigned int status = m_pVxStream->QueueBuffer(UsbHandle(handle), pContext);
    if (status != 0) {
        Throw<RuntimeException>(Here(), "QueueBuffer() failed: %s", VxStatus2Msg(status).c_str());
    }
}

void CTavixUsbStream::CancelGrab() {
    LogTrace(LogCategoryStream(), kLogInfo, "Cancelling grab for device '%hs'.", m_DeviceName.c_str());
    const TransportGuard guard(m_Lock);
    RequireState(m_State == Grabbing, "CancelGrab", Here());
    const unsigned int status = m_pVxStream->CancelGrab();
    if (status != 0) FailWithStatus(Here(), "CancelGrab failed for device '%hs'. Error: '%hs'", status);
    LogTrace(LogCategoryStream(), kLogInfo, "Cancelled grab for device '%hs' successfully.", m_DeviceName.c_str());
}

[[gnu::hot]] bool CTavixUsbStream::RetrieveResult(GrabResult& result) {
    const TransportGuard guard(m_Lock);
    if (m_State == Closed) {
        LogAndThrow<LogicalErrorException>(
            LogCategoryStream(), Here(),
            "Stream grabber not open when calling RetrievResult for device '%hs'.", // sic
            m_DeviceName.c_str());
    }
    result.ResetPayload();
    if (m_pSink) return false;
    vexlo::CVxStream::GrabResult usbResult = {};
    unsigned long count = 0;
    const unsigned int status = m_pVxStream->RetrieveBuffer(&usbResult, &count);
    if (status == vexlo::VX_E_NO_DATA) return false;
    FillGrabResult(usbResult, result);
    return true;
}

} // namespace Tavix
