#include "event/TavixUsbEventGrabber.h"

#include "vexlo/VxDevice.h"

namespace Tavix {

using GenICam::LogicalErrorException;
using GenICam::RuntimeException;

namespace {

constexpr char kEventPortName[] = "EventStreamGrabberPort";

} // namespace

CTavixUsbEventGrabber::CTavixUsbEventGrabber(vexlo::CVxDevice* pVxDevice)
    : m_pParams(Vandrel_UsbEventParams::CUsbEventParamsImpl::Create("")), m_ptrStatusReg(&m_pParams->StatusReg()),
      m_pVxDevice(pVxDevice), m_WaitObject(WaitObjectEx::Create(/*manualReset=*/false)),
      m_pPort(new CEventStreamGrabberPort) {
    const unsigned int status = m_pVxDevice->GetEventStream(&m_pVxEventStream);
    if (status != 0) {
        m_pVxEventStream = nullptr;
        LogTrace(LogCategoryEventStream(), kLogError, "Failed to create event stream grabber: %s",
                 VxStatus2Msg(status).c_str());
    }
    m_pPort->SetObject(m_pVxEventStream);
    m_pParams->InvalidateNodes();
    m_pParams->Connect(m_pPort.get(), kEventPortName);
}

CTavixUsbEventGrabber::~CTavixUsbEventGrabber() {
    try {
        InternalClose(/*throwOnError=*/false);
    } catch (...) { // callbacks of "StatusReg" may throw anything
        LogTrace(LogCategoryEventStream(), kLogError, "Failed to close event stream grabber on destruction.");
    }
}

void CTavixUsbEventGrabber::FailWithStatus(SourcePlace place, const char* format, unsigned int status) {
    LogAndThrow<RuntimeException>(LogCategoryEventStream(), place, format, VxStatus2Msg(status).c_str());
}

bool CTavixUsbEventGrabber::IsOpen() const {
    const TransportGuard guard(m_Lock);
    return m_ptrStatusReg->GetValue(/*Verify=*/false) != 0;
}

WaitObject& CTavixUsbEventGrabber::GetWaitObject() const {
    const TransportGuard guard(m_Lock);
    return m_WaitObject;
}

GenApi::INodeMap* CTavixUsbEventGrabber::GetNodeMap() {
    const TransportGuard guard(m_Lock);
    return m_pParams.get();
}

void CTavixUsbEventGrabber::Open() {
    const TransportGuard guard(m_Lock);
    if (IsOpen()) Throw<LogicalErrorException>(Here(), "Event grabber already open.");
    if (!m_pVxDevice->IsOpen()) {
        LogTrace(LogCategoryEventStream(), kLogError, "Device is not open");
        Throw<LogicalErrorException>(Here(), "Device is not opened. Open the device before opening the event stream!");
    }
    ObtainEventStream();
    m_WaitObject.Lower(); // raised by the last Close
    OpenEventStream();
    try {
        m_ptrStatusReg->SetValue(1, /*Verify=*/true);
    } catch (...) { // thrown by a callback of "StatusReg"
        InternalClose(/*throwOnError=*/false);
        throw;
    }
}

void CTavixUsbEventGrabber::ObtainEventStream() {
    if (m_pVxEventStream) return;
    const unsigned int status = m_pVxDevice->GetEventStream(&m_pVxEventStream);
    if (status != 0) {
        m_pVxEventStream = nullptr;
        FailWithStatus(Here(), "Failed to create event stream grabber: %s", status);
    }
    m_pPort->SetObject(m_pVxEventStream);
    m_pParams->InvalidateNodes();
    if (!m_pVxEventStream) Throw<RuntimeException>(Here(), "Internal fatal error (m_pVxEventStream == NULL )");
}

void CTavixUsbEventGrabber::OpenEventStream() {
    unsigned int status = m_pVxEventStream->RegisterWaitObject(m_WaitObject.GetHandle());
    if (status != 0) {
        m_pVxEventStream = nullptr;
        FailWithStatus(Here(), "Failed to register wait object: %s", status);
    }
    status = m_pVxEventStream->Open();
    if (status != 0) {
        // A stream that did not open may hold half of what it needs; the first failure is the one to report.
        static_cast<void>(m_pVxEventStream->Close());
        FailWithStatus(Here(), "Failed to open event stream grabber: %s", status);
    }
}

void CTavixUsbEventGrabber::Close() {
    InternalClose(/*throwOnError=*/false);
}

void CTavixUsbEventGrabber::InternalClose(bool throwOnError) {
    const TransportGuard guard(m_Lock);
    // As an heir tells it, or as this class does while it is destroyed.
    const bool wasOpen = IsOpen(); // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    unsigned int status = 0;
    if (m_pVxEventStream && m_pVxEventStream->IsOpen()) status = m_pVxEventStream->Close();
    m_ptrStatusReg->SetValue(0, /*Verify=*/true);
    if (wasOpen) m_WaitObject.Raise(); // or whoever waits for an event would wait for ever
    if (status == 0) return;
    constexpr char kFailure[] = "Failed to close event stream grabber: %s";
    const gcstring text = VxStatus2Msg(status);
    LogTrace(LogCategoryEventStream(), kLogError, kFailure, text.c_str());
    if (throwOnError) Throw<RuntimeException>(Here(), kFailure, text.c_str());
}

bool CTavixUsbEventGrabber::RetrieveEvent(EventResult& result) {
    const TransportGuard guard(m_Lock);
    if (!IsOpen()) Throw<LogicalErrorException>(Here(), "Event grabber not open.");
    // The event stream holds it signalled while events are pending, also for who has waited before.
    if (!m_WaitObject.Wait(0)) return false;
    unsigned long size = sizeof result.m_Buffer;
    const unsigned int status = m_pVxEventStream->RetrieveEvent(result.m_Buffer, &size, nullptr);
    if (status != 0) {
        result.m_ErrorCode = status;
        result.m_ErrorDescription = VxStatus2Msg(status);
        Throw<RuntimeException>(Here(), "Failed to get next message from event stream : %s (0x%08X)",
                                result.m_ErrorDescription.c_str(), status);
    }
    result.m_ErrorDescription.clear();
    result.m_ErrorCode = 0;
    return true;
}

} // namespace Tavix
