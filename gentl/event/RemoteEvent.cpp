#include "gentl/event/RemoteEvent.h"

#include "u3v/EventPacket.h"

#include <algorithm>
#include <vector>

namespace gentl {
namespace {

std::uint64_t CountOf(vexlo::CVxEventStream& stream, vexlo::CVxEventStream::EPropertyValue id) {
    std::uint64_t count = 0;
    Check(stream.GetProperty(id, &count, sizeof count), "The event channel does not tell");
    return count;
}

} // namespace

RemoteEvent::RemoteEvent(vexlo::CVxDevice& device, EndListener onEnd)
    : EventQueue(EVENT_REMOTE_DEVICE), m_Device(device), m_OnEnd(std::move(onEnd)) {}

void RemoteEvent::DoOpen() {
    using Stream = vexlo::CVxEventStream;
    Stream* channel = nullptr;
    Check(m_Device.GetEventStream(&channel), "The camera's event channel is not available");
    // Nothing is longer than the transfers in which messages come.
    const std::uint32_t most = 1U << 20;
    Check(channel->SetProperty(Stream::Property_MaximumMessageLength, &most, sizeof most), "Events cannot be kept");
    channel->SetEndListener(m_OnEnd);
    Check(channel->Open(), "The camera's event channel cannot be opened");
    m_Channel = channel;
    std::uint32_t length = 0;
    (void)channel->GetProperty(Stream::Property_MaximumTransferLength, &length, sizeof length); // never refused
    m_LargestData = std::max<size_t>(length, 576);
}

void RemoteEvent::DoBegin() {
    const Tavix::MutexLock guard(m_StreamMutex);
    m_Stream = m_Channel;
    (void)m_Stream->RegisterWaitObject(WaitObject()); // never refused
}

void RemoteEvent::DoLeave() noexcept {
    {
        const Tavix::MutexLock guard(m_StreamMutex);
        if (m_Stream) (void)m_Stream->RegisterWaitObject(nullptr);
        m_Stream = nullptr;
    }
    EventQueue::DoLeave();
}

void RemoteEvent::DoEnd() noexcept {
    if (m_Channel) (void)m_Channel->Close(); // a camera that is gone must not keep it open
    m_Channel = nullptr;
}

void RemoteEvent::NoteLoss() noexcept {
    m_IsLost = true;
    WaitObject().Signal();
}

EventQueue::Taken RemoteEvent::TryTake(void* buffer, size_t& size) {
    const Tavix::MutexLock guard(m_StreamMutex);
    if (!m_Stream) Fail(GC_ERR_ABORT, "the event was unregistered");
    unsigned long bytes = size;
    unsigned long left = 0;
    const vexlo::VxStatus status = m_Stream->RetrieveEvent(buffer, &bytes, &left);
    if (status == vexlo::VX_E_NO_DATA) {
        CheckEnd();
        return Taken::Nothing;
    }
    size = bytes;
    if (status == vexlo::VX_E_INVALID_SIZE) Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the event");
    if (status != vexlo::VX_OK) {
        m_End = status; // told once
        CheckEnd();
    }
    return left == 0 ? Taken::Last : Taken::OneOfSeveral;
}

size_t RemoteEvent::CountPending() {
    const Tavix::MutexLock guard(m_StreamMutex);
    unsigned long none = 0;
    unsigned long pending = 0;
    if (!m_Stream) return 0;
    const vexlo::VxStatus status = m_Stream->RetrieveEvent(nullptr, &none, &pending); // takes nothing but an end
    if (status == vexlo::VX_E_INVALID_SIZE) return pending;
    if (status != vexlo::VX_E_NO_DATA) m_End = status;
    if (m_End != vexlo::VX_OK) WaitObject().Signal(); // for those whom it was to wake
    return 0;
}

std::uint64_t RemoteEvent::CountFired() {
    const Tavix::MutexLock guard(m_StreamMutex);
    if (!m_Stream) return 0;
    using Stream = vexlo::CVxEventStream;
    const std::uint64_t total = CountOf(*m_Stream, Stream::Property_TotalEventCount);
    const std::uint64_t failed = CountOf(*m_Stream, Stream::Property_FailedEventCount);
    m_Fired = std::max(m_Fired, total - std::min(failed, total)); // one may have failed in between
    return m_Fired;
}

void RemoteEvent::CheckEnd() const {
    if (m_IsLost || m_End == vexlo::VX_E_USB_NO_DEVICE) Fail(GC_ERR_IO, "the camera was unplugged");
    Check(m_End, "The camera's events have ended");
}

void RemoteEvent::Flush() {
    std::vector<std::uint8_t> message(LargestData());
    try {
        for (size_t size = message.size(); TryTake(message.data(), size) != Taken::Nothing; size = message.size()) {
        }
    } catch (const Failure& failure) {
        if (failure.Code() != GC_ERR_ABORT && failure.Code() != GC_ERR_IO) throw;
    }
}

void RemoteEvent::DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const {
    const auto packet = u3v::DecodeEvent({static_cast<const std::uint8_t*>(data), size});
    if (!packet) Fail(GC_ERR_INVALID_BUFFER, "these are no data of an event of the camera");
    u3v::ByteView entries = packet->entries;
    const auto entry = u3v::TakeEventEntry(entries);
    if (!entry) Fail(GC_ERR_INVALID_BUFFER, "the event of the camera is broken");
    switch (command) {
    case EVENT_DATA_ID:
        return answer.String(Hexadecimal(entry->id));
    case EVENT_DATA_NUMID:
        return answer.Uint64(entry->id);
    // The address space of the event's node begins with the entry, its id and time stamp included.
    case EVENT_DATA_VALUE:
        return answer.Bytes(INFO_DATATYPE_BUFFER, entry->bytes.data, entry->bytes.size);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about event data");
    }
}

} // namespace gentl
