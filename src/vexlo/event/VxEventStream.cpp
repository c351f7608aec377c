// The event channel of a camera.
#include "vexlo/VxEventStream.h"

#include "vexlo/PropertyValue.h"
#include "vexlo/event/VxEventStreamImpl.h"

#include <sched.h>

namespace vexlo {
namespace {

constexpr std::uint32_t kMostBuffers = 65536;
constexpr std::uint32_t kMostQueued = 256;
constexpr std::uint32_t kMostMessageBytes = 1u << 20;
constexpr std::int32_t kLowestPriority = 0; ///< ordinary scheduling

std::int32_t HighestPriority() {
    return ::sched_get_priority_max(SCHED_RR);
}

} // namespace

CVxEventStream::CVxEventStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxEventStream::~CVxEventStream() {
    if (IsOpen()) (void)Close();
}

VxStatus CVxEventStream::Open() {
    const MutexLock lock(m_Impl->lock);
    if (m_Impl->session) return VX_E_ALREADY_OPEN;
    auto session = m_Impl->sessions.Get();
    if (!session) return VX_E_NOT_OPEN;
    if (!session->Function().event || session->Registers().eventAddress == 0) return VX_E_NOT_SUPPORTED;
    VxStatus status = session->Note(m_Impl->claim.Claim(session->Handle(), session->Function().event->number));
    if (status == VX_OK) status = m_Impl->engine.Start(*session, m_Impl->settings);
    if (status != VX_OK) {
        m_Impl->claim.Release();
        return status;
    }
    m_Impl->session = std::move(session);
    m_Impl->open = true;
    return VX_OK;
}

VxStatus CVxEventStream::Close() {
    const MutexLock lock(m_Impl->lock);
    if (!m_Impl->session) return VX_E_NOT_OPEN;
    m_Impl->open = false;
    const VxStatus status = m_Impl->engine.Stop();
    m_Impl->claim.Release();
    m_Impl->session.reset();
    return status;
}

bool CVxEventStream::IsOpen() const {
    return m_Impl->open;
}

VxStatus CVxEventStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    m_Impl->engine.SetWaitObject(Tavix::ShareWaitObject(waitObject));
    return VX_OK;
}

void CVxEventStream::SetEndListener(std::function<void(VxStatus)> listener) {
    m_Impl->engine.SetEndListener(std::move(listener));
}

VxStatus CVxEventStream::RetrieveEvent(void* buffer, unsigned long* pSize, unsigned long* pPending) {
    if (pSize == nullptr || (buffer == nullptr && *pSize != 0)) return VX_E_INVALID_PARAMETER;
    std::size_t pending = 0;
    const VxStatus status = m_Impl->engine.Take(buffer, *pSize, pending);
    if (pPending != nullptr) *pPending = pending;
    return status;
}

VxStatus CVxEventStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const EventRing::Counts counts = m_Impl->engine.Counts();
    EventEngine::Settings settings;
    {
        const MutexLock lock(m_Impl->lock);
        settings = m_Impl->settings;
    }
    switch (id) {
    case Property_NumBuffer:
        return GetValue(settings.buffers, buffer, size);
    case Property_NumMaxQueuedUrbs:
        return GetValue(settings.maxQueuedTransfers, buffer, size);
    case Property_MaximumMessageLength:
        return GetValue(settings.largestMessage, buffer, size);
    case Property_MaximumTransferLength:
        return GetValue(m_Impl->engine.TransferLength(), buffer, size);
    case Property_TotalEventCount:
        return GetValue(counts.total, buffer, size);
    case Property_FailedEventCount:
        return GetValue(counts.failed, buffer, size);
    case Property_LastFailedEventBufferStatus:
        return GetValue(counts.lastFailure, buffer, size);
    case Property_TransferLoopThreadPriority:
        return GetValue(settings.priority, buffer, size);
    case Property_TransferLoopThreadPriorityMax:
        return GetValue(HighestPriority(), buffer, size);
    case Property_TransferLoopThreadPriorityMin:
        return GetValue(kLowestPriority, buffer, size);
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

VxStatus CVxEventStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const MutexLock lock(m_Impl->lock);
    const bool open = m_Impl->session != nullptr;
    EventEngine::Settings& settings = m_Impl->settings;
    switch (id) {
    case Property_NumBuffer:
        return open ? VX_E_INVALID_STATE : SetValueWithin(settings.buffers, buffer, size, 1u, kMostBuffers);
    case Property_NumMaxQueuedUrbs:
        return open ? VX_E_INVALID_STATE : SetValueWithin(settings.maxQueuedTransfers, buffer, size, 1u, kMostQueued);
    case Property_MaximumMessageLength:
        return open ? VX_E_INVALID_STATE
                    : SetValueWithin(settings.largestMessage, buffer, size, 24u, kMostMessageBytes);
    case Property_TransferLoopThreadPriority:
        return open ? VX_E_INVALID_STATE
                    : SetValueWithin(settings.priority, buffer, size, kLowestPriority, HighestPriority());
    case Property_GenerateNumTestEvents: {
        std::uint8_t count = 0;
        const VxStatus status = SetValue(count, buffer, size);
        if (status != VX_OK) return status;
        return open ? m_Impl->engine.Trigger(count) : VX_E_NOT_OPEN;
    }
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

} // namespace vexlo
