#include "gentl/stream/NewBufferEvent.h"

#include "gentl/stream/Stream.h"

#include <cstring>

namespace gentl {

NewBufferEvent::NewBufferEvent(const std::shared_ptr<Stream>& stream)
    : EventQueue(EVENT_NEW_BUFFER), m_Stream(stream) {}

void NewBufferEvent::DoOpen() {
    const AcquisitionEngine::Figures figures = Owner()->Engine().Look();
    m_FiredBefore = figures.fired - figures.output; // what waits is there for this one
}

void NewBufferEvent::DoBegin() {
    Owner()->Engine().SetListener(WaitObject());
    m_HasBegun = true;
}

void NewBufferEvent::DoLeave() noexcept {
    const auto stream = m_Stream.lock();
    if (m_HasBegun && stream) stream->Engine().SetListener({});
    EventQueue::DoLeave();
}

std::shared_ptr<Stream> NewBufferEvent::Owner() const {
    auto stream = m_Stream.lock();
    if (!stream) Fail(GC_ERR_ABORT, "the stream is closed");
    return stream;
}

[[gnu::hot]] EventQueue::Taken NewBufferEvent::TryTake(void* data, size_t& size) {
    if (size < sizeof(EVENT_NEW_BUFFER_DATA)) Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the event");
    const auto stream = Owner();
    const vexlo::VxStatus end = stream->Engine().EndReason(); // first: what completed before it is taken all the same
    bool isLast = false;
    const EVENT_NEW_BUFFER_DATA event = stream->Engine().TakeOutput(isLast);
    // The camera may be known to have left while its last images are still on their way.
    const bool isOver = end != vexlo::VX_OK || (stream->IsLost() && !stream->Engine().MayBring());
    if (!event.BufferHandle) {
        if (isOver) Stream::FailBecauseOfEnd(end);
        return Taken::Nothing;
    }
    size = sizeof event;
    std::memcpy(data, &event, sizeof event);
    return isLast && !isOver ? Taken::Last : Taken::OneOfSeveral; // an end is for all who wait
}

size_t NewBufferEvent::CountPending() {
    return static_cast<size_t>(Owner()->Engine().Look().output);
}

std::uint64_t NewBufferEvent::CountFired() {
    return Owner()->Engine().Look().fired - m_FiredBefore;
}

void NewBufferEvent::Flush() {
    Owner()->Engine().Flush(ACQ_QUEUE_OUTPUT_DISCARD);
}

void NewBufferEvent::DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const {
    EVENT_NEW_BUFFER_DATA event;
    if (size < sizeof event) Fail(GC_ERR_INVALID_BUFFER, "these are no data of a new buffer");
    std::memcpy(&event, data, sizeof event);
    switch (command) {
    case EVENT_DATA_ID:
        return answer.Pointer(event.BufferHandle);
    case EVENT_DATA_VALUE:
        return answer.Pointer(event.pUserPointer);
    case EVENT_DATA_NUMID:
        Fail(GC_ERR_NOT_AVAILABLE, "a new buffer has no number");
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about event data");
    }
}

} // namespace gentl
