// Properties of a stream by identifier.

#include "vexlo/PropertyValue.h"
#include "vexlo/stream/StreamImpl.h"

namespace vexlo {
namespace {

using Id = CVxStream::EPropertyValue;

} // namespace

VxStatus CVxStream::Impl::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    if (!buffer) return VX_E_INVALID_PARAMETER;
    const MutexLock guard(m_SettingsMutex);
    switch (id) {
    case Id::Property_NumMaxQueuedUrbs:
        return GetValue(m_Settings.maxQueuedUrbs, buffer, size);
    case Id::Property_NumMaxQueuedUrbsMax:
        return GetValue(StreamSettings::kMostQueuedUrbs, buffer, size);
    case Id::Property_MaxTransferSize:
        return GetValue(m_Settings.maxTransferSize, buffer, size);
    case Id::Property_MaxTransferSizeMax:
        return GetValue(StreamSettings::kLargestTransfer, buffer, size);
    case Id::Property_MaxTransferSizeMin:
        return GetValue(StreamSettings::kSmallestTransfer, buffer, size);
    case Id::Property_MaxTransferSizeInc:
        return GetValue(StreamSettings::kTransferIncrement, buffer, size);
    case Id::Property_TotalBufferCount:
        return GetValue(statistics.totalBuffers.load(), buffer, size);
    case Id::Property_FailedBufferCount:
        return GetValue(statistics.failedBuffers.load(), buffer, size);
    case Id::Property_MissedFrameCount:
        return GetValue(statistics.missedFrames.load(), buffer, size);
    case Id::Property_ResynchronizationCount:
        return GetValue(statistics.resynchronizations.load(), buffer, size);
    case Id::Property_LastBlockId:
        return GetValue(statistics.lastBlockId.load(), buffer, size);
    case Id::Property_LastFailedBufferStatus:
        return GetValue(statistics.lastFailedStatus.load(), buffer, size);
    case Id::Property_TransferLoopThreadPriority:
        return GetValue(m_Settings.threadPriority, buffer, size);
    case Id::Property_TransferLoopThreadPriorityMax:
        return GetValue(StreamSettings::kHighestPriority, buffer, size);
    case Id::Property_TransferLoopThreadPriorityMin:
        return GetValue(StreamSettings::kLowestPriority, buffer, size);
    case Id::Property_CopiedByteCount:
        return GetValue(statistics.copiedBytes.load(), buffer, size);
    case Id::Property_FirstDataTimeout:
        return GetValue(m_Settings.firstDataTimeout, buffer, size);
    }
    return VX_E_INVALID_PROPERTY;
}

VxStatus CVxStream::Impl::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    if (!buffer) return VX_E_INVALID_PARAMETER;
    if (state == State::Prepared || state == State::Streaming) return VX_E_INVALID_STATE;
    const MutexLock guard(m_SettingsMutex);
    switch (id) {
    case Id::Property_NumMaxQueuedUrbs:
        return SetValueWithin<std::uint32_t>(m_Settings.maxQueuedUrbs, buffer, size, 1,
                                             StreamSettings::kMostQueuedUrbs);
    case Id::Property_MaxTransferSize:
        return SetValueWithin(m_Settings.maxTransferSize, buffer, size, StreamSettings::kSmallestTransfer,
                              StreamSettings::kLargestTransfer);
    case Id::Property_TransferLoopThreadPriority:
        return SetValueWithin(m_Settings.threadPriority, buffer, size, StreamSettings::kLowestPriority,
                              StreamSettings::kHighestPriority);
    case Id::Property_FirstDataTimeout:
        return SetValueWithin<std::uint32_t>(m_Settings.firstDataTimeout, buffer, size, 0,
                                             StreamSettings::kLongestFirstDataTimeout);
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

} // namespace vexlo
