// Properties of a stream by identifier.

#include "StreamImpl.h"

#include <cstring>

namespace vexlo {
namespace {

using Id = CVxStream::EPropertyValue;

template<class Value>
VxStatus Give(Value value, void* buffer, unsigned long size) {
    if (size != sizeof value) return VX_E_INVALID_SIZE;
    std::memcpy(buffer, &value, sizeof value); // x86-64 is little-endian, as the properties are
    return VX_OK;
}

template<class Value>
VxStatus Take(const void* buffer, unsigned long size, Value lowest, Value highest, Value& target) {
    Value value{};
    if (size != sizeof value) return VX_E_INVALID_SIZE;
    std::memcpy(&value, buffer, sizeof value);
    if (value < lowest || value > highest) return VX_E_INVALID_PARAMETER;
    target = value;
    return VX_OK;
}

} // namespace

VxStatus CVxStream::Impl::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    if (!buffer) return VX_E_INVALID_PARAMETER;
    std::lock_guard<std::mutex> guard(m_SettingsMutex);
    switch (id) {
    case Id::Property_NumMaxQueuedUrbs:
        return Give(m_Settings.maxQueuedUrbs, buffer, size);
    case Id::Property_MaxTransferSize:
        return Give(m_Settings.maxTransferSize, buffer, size);
    case Id::Property_MaxTransferSizeMax:
        return Give(StreamSettings::kLargestTransfer, buffer, size);
    case Id::Property_MaxTransferSizeMin:
        return Give(StreamSettings::kSmallestTransfer, buffer, size);
    case Id::Property_MaxTransferSizeInc:
        return Give(StreamSettings::kTransferIncrement, buffer, size);
    case Id::Property_TotalBufferCount:
        return Give(statistics.totalBuffers.load(), buffer, size);
    case Id::Property_FailedBufferCount:
        return Give(statistics.failedBuffers.load(), buffer, size);
    case Id::Property_MissedFrameCount:
        return Give(statistics.missedFrames.load(), buffer, size);
    case Id::Property_ResynchronizationCount:
        return Give(statistics.resynchronizations.load(), buffer, size);
    case Id::Property_LastBlockId:
        return Give(statistics.lastBlockId.load(), buffer, size);
    case Id::Property_LastFailedBufferStatus:
        return Give(statistics.lastFailedStatus.load(), buffer, size);
    case Id::Property_TransferLoopThreadPriority:
        return Give(m_Settings.threadPriority, buffer, size);
    case Id::Property_TransferLoopThreadPriorityMax:
        return Give(StreamSettings::kHighestPriority, buffer, size);
    case Id::Property_TransferLoopThreadPriorityMin:
        return Give(StreamSettings::kLowestPriority, buffer, size);
    case Id::Property_CopiedByteCount:
        return Give(statistics.copiedBytes.load(), buffer, size);
    case Id::Property_FirstDataTimeout:
        return Give(m_Settings.firstDataTimeout, buffer, size);
    }
    return VX_E_INVALID_PROPERTY;
}

VxStatus CVxStream::Impl::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    if (!buffer) return VX_E_INVALID_PARAMETER;
    if (state == State::Prepared || state == State::Streaming) return VX_E_INVALID_STATE;
    std::lock_guard<std::mutex> guard(m_SettingsMutex);
    switch (id) {
    case Id::Property_NumMaxQueuedUrbs:
        return Take<std::uint32_t>(buffer, size, 1, StreamSettings::kMostQueuedUrbs, m_Settings.maxQueuedUrbs);
    case Id::Property_MaxTransferSize:
        return Take(buffer, size, StreamSettings::kSmallestTransfer, StreamSettings::kLargestTransfer,
                    m_Settings.maxTransferSize);
    case Id::Property_TransferLoopThreadPriority:
        return Take(buffer, size, StreamSettings::kLowestPriority, StreamSettings::kHighestPriority,
                    m_Settings.threadPriority);
    case Id::Property_FirstDataTimeout:
        return Take<std::uint32_t>(buffer, size, 0, StreamSettings::kLongestFirstDataTimeout,
                                   m_Settings.firstDataTimeout);
    default:
        return VX_E_INVALID_PROPERTY;
    }
}

} // namespace vexlo
