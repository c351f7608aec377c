#include "gentl/event/RemoteEvent.h"

#include "u3v/EventPacket.h"

#include <array>

namespace gentl {

RemoteEvent::RemoteEvent(vexlo::CVxDevice& device) : EventQueue(EVENT_REMOTE_DEVICE) {
    Check(device.GetEventStream(&m_Stream), "The camera's event channel is not available");
    Check(m_Stream->Open(), "The camera's event channel cannot be opened");
    (void)m_Stream->RegisterWaitObject(WaitObject()); // never refused
}

RemoteEvent::~RemoteEvent() {
    Stop();
}

void RemoteEvent::Stop() noexcept {
    const Tavix::MutexLock guard(m_StreamMutex);
    if (!m_Stream) return;
    (void)m_Stream->RegisterWaitObject(nullptr);
    (void)m_Stream->Close(); // a camera that is gone must not keep it open
    m_Stream = nullptr;
}

void RemoteEvent::Close() noexcept {
    Stop();
    EventQueue::Close();
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
        m_Left = 0;
        if (!m_IsLost) return Taken::Nothing;
        WaitObject().Signal(); // for the next waiter
        Fail(GC_ERR_IO, "the camera was unplugged");
    }
    size = bytes;
    if (status == vexlo::VX_E_INVALID_SIZE) Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the event");
    Check(status, "The camera's events cannot be received");
    m_Left = left;
    return left == 0 ? Taken::Last : Taken::OneOfSeveral;
}

void RemoteEvent::Flush() {
    std::array<std::uint8_t, 4096> message;
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
