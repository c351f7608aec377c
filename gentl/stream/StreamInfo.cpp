// What a stream tells of itself: queries, registers, and its event.

#include "gentl/module/Device.h"
#include "gentl/module/RemotePort.h"
#include "gentl/stream/Stream.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"

#include <array>

namespace gentl {
namespace {

using Vx = vexlo::CVxStream;
using Guard = Tavix::MutexLock;

} // namespace

std::uint64_t Stream::Property(Vx::EPropertyValue id, size_t width) {
    std::array<std::uint8_t, 8> bytes{};
    Check(m_Vx->GetProperty(id, bytes.data(), width), "The stream does not tell");
    return u3v::Load64(bytes.data());
}

void Stream::RequireUnlocked() const {
    if (m_IsLocked) Fail(GC_ERR_BUSY, "TLParamsLocked is set");
}

void Stream::SetProperty(Vx::EPropertyValue id, size_t width, std::uint64_t value) {
    std::array<std::uint8_t, 8> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    Check(m_Vx->SetProperty(id, bytes.data(), width), "The stream does not take the value");
}

/// As the camera's stream registers say now.
std::uint64_t Stream::PayloadSize() {
    const auto read = [this](std::uint64_t address) {
        std::array<std::uint8_t, 8> bytes{};
        size_t size = bytes.size();
        m_Device->Remote()->Read(address, bytes.data(), size);
        return u3v::Load64(bytes.data());
    };
    const std::uint64_t sirm = read(read(u3v::abrm::kSbrmAddress) + u3v::sbrm::kSirmAddress);
    return read(sirm + u3v::sirm::kRequiredPayloadSize);
}

void Stream::Info(STREAM_INFO_CMD command, Answer& answer) {
    if (command == STREAM_INFO_PAYLOAD_SIZE) return answer.Size(PayloadSize());
    const Guard guard(m_Mutex);
    Drain();
    switch (command) {
    case STREAM_INFO_ID:
        return answer.String(Device::kStreamId);
    case STREAM_INFO_NUM_DELIVERED:
        return answer.Uint64(m_Delivered);
    case STREAM_INFO_NUM_UNDERRUN:
        return answer.Uint64(Property(Vx::Property_MissedFrameCount, 8) + m_Overwritten);
    case STREAM_INFO_NUM_ANNOUNCED:
        return answer.Size(m_Buffers.size());
    case STREAM_INFO_NUM_QUEUED:
        return answer.Size(m_Input.size());
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return answer.Size(m_Output.size());
    case STREAM_INFO_NUM_STARTED:
        return answer.Uint64(m_Started);
    case STREAM_INFO_IS_GRABBING:
        return answer.Bool(m_IsRunning && m_Left != 0);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return answer.Bool(false);
    case STREAM_INFO_TLTYPE:
        return answer.String(kTechnology);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return answer.Size(64);
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
    case STREAM_INFO_BUF_ALIGNMENT:
        return answer.Size(1);
    case STREAM_INFO_FLOW_TABLE:
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
        Fail(GC_ERR_NOT_AVAILABLE, "this technology has no flows");
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a stream");
    }
}

void Stream::BuildPort() {
    m_Port.Constant("StreamID", Device::kStreamId);
    m_Port.Choice("StreamType", {{"USB3Vision", 0}, {"Custom", 1}}, [] { return 0; });
    const auto counted = [this](auto&& count) {
        return [this, count] {
            const Guard guard(m_Mutex);
            Drain();
            return static_cast<std::uint64_t>(count(*this));
        };
    };
    m_Port.Number("StreamAnnouncedBufferCount", counted([](const Stream& stream) { return stream.m_Buffers.size(); }));
    m_Port.Number("StreamAnnounceBufferMinimum", [] { return 1; });
    m_Port.Choice("StreamBufferHandlingMode",
                  {{"Default", 0}, {"OldestFirst", 3}, {"OldestFirstOverwrite", 1}, {"NewestOnly", 2}},
                  counted([](const Stream& stream) { return stream.m_Handling; }), [this](std::uint64_t mode) {
                      const Guard guard(m_Mutex);
                      if (m_IsRunning) Fail(GC_ERR_BUSY, "the stream is running");
                      RequireUnlocked();
                      if (mode > 3) Fail(GC_ERR_INVALID_VALUE, "there is no such handling of buffers");
                      m_Handling = static_cast<Handling>(mode);
                  });
    m_Port.Number("StreamDeliveredFrameCount", counted([](const Stream& stream) { return stream.m_Delivered; }));
    m_Port.Number("StreamLostFrameCount", counted([](Stream& stream) {
                      return stream.Property(Vx::Property_MissedFrameCount, 8) + stream.m_Overwritten;
                  }));
    m_Port.Number("StreamInputBufferCount", counted([](const Stream& stream) { return stream.m_Input.size(); }));
    m_Port.Number("StreamOutputBufferCount", counted([](const Stream& stream) { return stream.m_Output.size(); }));
    m_Port.Number("StreamStartedFrameCount", counted([](const Stream& stream) { return stream.m_Started; }));
    m_Port.Number("PayloadSize", [this] { return PayloadSize(); });
    m_Port.Flag("StreamIsGrabbing",
                counted([](const Stream& stream) { return stream.m_IsRunning && stream.m_Left != 0; }));
    m_Port.Number("StreamChunkCountMaximum", [] { return 64; });
    m_Port.Number("StreamBufferAlignment", [] { return 1; });
    // Consumers lock before they start and unlock after they have stopped; a running stream is locked in any case.
    m_Port.Limited("TLParamsLocked", {0, [] { return 1; }, 1}, // an integer, as everywhere
                   counted([](const Stream& stream) { return stream.m_IsRunning || stream.m_IsLocked; }),
                   [this](std::uint64_t locked) {
                       const Guard guard(m_Mutex);
                       m_IsLocked = locked != 0;
                   });
    BuildSettings();
}

void Stream::BuildSettings() {
    m_Port.Choice("StreamMemory", {{"Ordinary", 0}, {"Mapped", 1}}, [this]() -> std::uint64_t {
        const Guard guard(m_Mutex);
        for (const auto& buffer : m_Buffers) {
            if (buffer->own) return 1;
        }
        return 0;
    });
    const auto get = [this](Vx::EPropertyValue id, size_t width) {
        return [this, id, width] { return Property(id, width); };
    };
    const auto set = [this](Vx::EPropertyValue id, size_t width) {
        return [this, id, width](std::uint64_t value) {
            const Guard guard(m_Mutex);
            RequireUnlocked();
            SetProperty(id, width, value);
        };
    };
    m_Port.Limited("StreamMaxTransferSize", {1024, get(Vx::Property_MaxTransferSizeMax, 4), 1024},
                   get(Vx::Property_MaxTransferSize, 4), set(Vx::Property_MaxTransferSize, 4));
    m_Port.Number("StreamQueuedTransferCount", get(Vx::Property_NumMaxQueuedUrbs, 4),
                  set(Vx::Property_NumMaxQueuedUrbs, 4));
    m_Port.Number("StreamThreadPriority", get(Vx::Property_TransferLoopThreadPriority, 4),
                  set(Vx::Property_TransferLoopThreadPriority, 4));
    m_Port.Number("StreamTotalBufferCount", get(Vx::Property_TotalBufferCount, 8));
    m_Port.Number("StreamFailedBufferCount", get(Vx::Property_FailedBufferCount, 8));
    m_Port.Number("StreamResynchronizationCount", get(Vx::Property_ResynchronizationCount, 8));
    m_Port.Number("StreamCopiedByteCount", get(Vx::Property_CopiedByteCount, 8));
}

NewBufferEvent::NewBufferEvent(const std::shared_ptr<Stream>& stream)
    : EventQueue(EVENT_NEW_BUFFER), m_Stream(stream) {}

std::shared_ptr<Stream> NewBufferEvent::Owner() const {
    auto stream = std::static_pointer_cast<Stream>(m_Stream.lock());
    if (!stream) Fail(GC_ERR_ABORT, "the stream is closed");
    return stream;
}

EventQueue::Taken NewBufferEvent::TryTake(void* data, size_t& size) {
    if (size < sizeof(EVENT_NEW_BUFFER_DATA)) Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the event");
    const auto stream = Owner();
    size_t left = 0;
    const std::shared_ptr<Buffer> buffer = stream->TakeOutput(left);
    if (!buffer) {
        if (!stream->IsLost()) return Taken::Nothing;
        WaitObject().Signal(); // for the next waiter
        Fail(GC_ERR_IO, "the camera was unplugged");
    }
    const EVENT_NEW_BUFFER_DATA event{buffer->Handle(), buffer->userPointer};
    size = sizeof event;
    std::memcpy(data, &event, sizeof event);
    return left == 0 ? Taken::Last : Taken::OneOfSeveral;
}

size_t NewBufferEvent::CountPending() {
    return Owner()->CountOutput();
}

void NewBufferEvent::Flush() {
    Owner()->DiscardOutput();
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
