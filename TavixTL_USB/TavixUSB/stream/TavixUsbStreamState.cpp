// The grabber's state and what the camera's parameters know of it, and what is done when a step fails.

#include "device/TavixUsbDevice.h"
#include "stream/TavixUsbStream.h"

namespace Tavix {

using GenICam::LogicalErrorException;
using GenICam::RuntimeException;

void CTavixUsbStream::FailWithStatus(SourcePlace place, const char* format, unsigned int status) const {
    LogAndThrow<RuntimeException>(LogCategoryStream(), place, format, m_DeviceName.c_str(),
                                  VxStatus2Msg(status).c_str());
}

void CTavixUsbStream::RequireState(bool allowed, const char* operation, SourcePlace place) const {
    if (allowed) return;
    LogAndThrow<LogicalErrorException>(LogCategoryStream(), place,
                                       "Invalid stream grabber state '%hs' in %hs for device '%hs'.", GetStateName(),
                                       operation, m_DeviceName.c_str());
}

void CTavixUsbStream::SetState(EStreamGrabberState state) {
    if (m_State == state) return;
    m_State = state;
    m_pParams->StatusReg().SetValue(state, /*Verify=*/true);
}

/// For steps that must not keep those behind them from being done: whatever is thrown is logged and returned. Callbacks
/// of nodes may throw anything.
template<class Step>
std::exception_ptr CTavixUsbStream::Attempt(Step step) const {
    constexpr char kFailure[] = "A parameter of the stream grabber for device '%hs' cannot be set: %s";
    try {
        step();
        return nullptr;
    } catch (const std::exception& e) {
        LogTrace(LogCategoryStream(), kLogWarning, kFailure, m_DeviceName.c_str(), e.what());
        return std::current_exception();
    } catch (...) {
        LogTrace(LogCategoryStream(), kLogWarning, kFailure, m_DeviceName.c_str(), "unknown exception");
        return std::current_exception();
    }
}

std::exception_ptr CTavixUsbStream::AttemptState(EStreamGrabberState state) {
    return Attempt([this, state] {
        m_Lock.AssertHeld();
        SetState(state);
    });
}

std::exception_ptr CTavixUsbStream::AttemptToUnlockTLParams() {
    return Attempt([this] {
        m_Lock.AssertHeld();
        LockTLParams(false);
    });
}

const char* CTavixUsbStream::GetStateName() const {
    switch (m_State) {
    case Closed:
        return "Closed";
    case Opened:
        return "Open";
    case Grabbing:
        return "Grabbing";
    default:
        return "Unknown State";
    }
}

void CTavixUsbStream::FindTLParamsLocked() {
    GenApi::INodeMap* pNodeMap = m_pDevice->GetNodeMap();
    m_ptrTLParamsLocked = pNodeMap ? pNodeMap->GetNode("TLParamsLocked") : nullptr;
    if (m_ptrTLParamsLocked.IsValid()) return;
    LogTrace(LogCategoryStream(), kLogWarning, "Device '%hs' doesn't provide TLParamsLocked feature.",
             m_DeviceName.c_str());
}

void CTavixUsbStream::LockTLParams(bool lock) {
    if (!m_ptrTLParamsLocked.IsValid()) return;
    if (!GenApi::IsWritable(m_ptrTLParamsLocked->GetAccessMode())) return;
    m_ptrTLParamsLocked->SetValue(lock ? 1 : 0, /*Verify=*/true);
}

} // namespace Tavix
