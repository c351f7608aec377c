// What a stream tells of itself: queries and registers.

#include "gentl/module/Device.h"
#include "gentl/module/RemotePort.h"
#include "gentl/stream/Stream.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"

#include <array>

namespace gentl {
namespace {

using Vx = vexlo::CVxStream;

} // namespace

std::uint64_t Stream::Property(Vx::EPropertyValue id, size_t width) {
    std::array<std::uint8_t, 8> bytes{};
    Check(m_Vx.GetProperty(id, bytes.data(), width), "The stream does not tell");
    return u3v::Load64(bytes.data());
}

void Stream::RequireUnlocked() const {
    if (m_IsLocked) Fail(GC_ERR_BUSY, "TLParamsLocked is set");
}

void Stream::SetProperty(Vx::EPropertyValue id, size_t width, std::uint64_t value) {
    if (width < 8 && value >> (8 * width) != 0) Fail(GC_ERR_INVALID_VALUE, "the number is too large");
    std::array<std::uint8_t, 8> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    const vexlo::VxStatus status = m_Vx.SetProperty(id, bytes.data(), width);
    if (status == vexlo::VX_E_INVALID_PARAMETER) Fail(GC_ERR_INVALID_VALUE, "the number is beyond its limits");
    Check(status, "The stream does not take the value");
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

std::uint64_t Stream::CountLost(const Figures& figures) {
    return Property(Vx::Property_MissedFrameCount, 8) + figures.overwritten;
}

void Stream::Info(STREAM_INFO_CMD command, Answer& answer) {
    switch (command) {
    case STREAM_INFO_PAYLOAD_SIZE:
        return answer.Size(PayloadSize());
    case STREAM_INFO_ID:
        return answer.String(Device::kStreamId);
    case STREAM_INFO_NUM_DELIVERED:
        return answer.Uint64(m_Engine.Look().delivered);
    case STREAM_INFO_NUM_UNDERRUN:
        return answer.Uint64(CountLost(m_Engine.Look()));
    case STREAM_INFO_NUM_ANNOUNCED:
        return answer.Size(m_Engine.Look().announced);
    case STREAM_INFO_NUM_QUEUED:
        return answer.Size(m_Engine.Look().input);
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return answer.Size(m_Engine.Look().output);
    case STREAM_INFO_NUM_STARTED:
        return answer.Uint64(m_Engine.Look().filled);
    case STREAM_INFO_IS_GRABBING:
        return answer.Bool(m_Engine.Look().isGrabbing != 0);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return answer.Bool(false);
    case STREAM_INFO_TLTYPE:
        return answer.String(kTechnology);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return answer.Size(kMostChunks);
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

ModulePort::GetNumber Stream::Figure(std::uint64_t Figures::*figure) {
    return [this, figure] { return m_Engine.Look().*figure; };
}

void Stream::BuildPort() {
    m_Port.Constant("StreamID", Device::kStreamId);
    m_Port.Choice("StreamType", {{"USB3Vision", 0}, {"Custom", 1}}, [] { return 0; });
    m_Port.Number("StreamAnnouncedBufferCount", Figure(&Figures::announced));
    m_Port.Number("StreamAnnounceBufferMinimum", [] { return 1; });
    m_Port.LockBy("TLParamsLocked");
    m_Port.Choice("StreamBufferHandlingMode",
                  {{"Default", 0}, {"OldestFirst", 3}, {"OldestFirstOverwrite", 1}, {"NewestOnly", 2}},
                  Figure(&Figures::handling), [this](std::uint64_t mode) {
                      RequireUnlocked();
                      if (mode > 3) Fail(GC_ERR_INVALID_VALUE, "there is no such handling of buffers");
                      m_Engine.SetHandling(static_cast<Handling>(mode));
                  });
    m_Port.LockBy(nullptr);
    BuildCounters();
    m_Port.Number("PayloadSize", [this] { return PayloadSize(); });
    m_Port.Flag("StreamIsGrabbing", Figure(&Figures::isGrabbing));
    m_Port.Number("StreamChunkCountMaximum", [] { return kMostChunks; });
    m_Port.Number("StreamBufferAlignment", [] { return 1; });
    // Consumers lock before they start and unlock after they have stopped; a running stream is locked in any case.
    m_Port.Limited(
        "TLParamsLocked", {0, [] { return 1; }, 1}, // an integer, as everywhere
        [this]() -> std::uint64_t { return m_Engine.Look().isRunning || m_IsLocked ? 1 : 0; },
        [this](std::uint64_t locked) { m_IsLocked = locked != 0; });
    BuildSettings();
}

void Stream::BuildCounters() {
    m_Port.Number("StreamDeliveredFrameCount", Figure(&Figures::delivered));
    m_Port.Number("StreamLostFrameCount", [this] { return CountLost(m_Engine.Look()); });
    m_Port.Number("StreamInputBufferCount", Figure(&Figures::input));
    m_Port.Number("StreamOutputBufferCount", Figure(&Figures::output));
    m_Port.Number("StreamStartedFrameCount", Figure(&Figures::filled));
}

void Stream::BuildSettings() {
    m_Port.Choice("StreamMemory", {{"Ordinary", 0}, {"Mapped", 1}}, Figure(&Figures::hasMapped));
    const auto get = [this](Vx::EPropertyValue id, size_t width) {
        return [this, id, width] { return Property(id, width); };
    };
    const auto set = [this](Vx::EPropertyValue id, size_t width) {
        return [this, id, width](std::uint64_t value) {
            RequireUnlocked();
            m_Engine.RequireIdle();
            SetProperty(id, width, value);
        };
    };
    m_Port.LockBy("TLParamsLocked");
    m_Port.Limited("StreamMaxTransferSize",
                   {Property(Vx::Property_MaxTransferSizeMin, 4), get(Vx::Property_MaxTransferSizeMax, 4), 1024},
                   get(Vx::Property_MaxTransferSize, 4), set(Vx::Property_MaxTransferSize, 4));
    m_Port.Limited("StreamQueuedTransferCount", {1, get(Vx::Property_NumMaxQueuedUrbsMax, 4)},
                   get(Vx::Property_NumMaxQueuedUrbs, 4), set(Vx::Property_NumMaxQueuedUrbs, 4));
    m_Port.Limited("StreamThreadPriority",
                   {0, get(Vx::Property_TransferLoopThreadPriorityMax, 4), 1, /*isSigned=*/true},
                   get(Vx::Property_TransferLoopThreadPriority, 4), set(Vx::Property_TransferLoopThreadPriority, 4));
    m_Port.LockBy(nullptr);
    m_Port.Number("StreamTotalBufferCount", get(Vx::Property_TotalBufferCount, 8));
    m_Port.Number("StreamFailedBufferCount", get(Vx::Property_FailedBufferCount, 8));
    m_Port.Number("StreamResynchronizationCount", get(Vx::Property_ResynchronizationCount, 8));
    m_Port.Number("StreamCopiedByteCount", get(Vx::Property_CopiedByteCount, 8));
}

} // namespace gentl
