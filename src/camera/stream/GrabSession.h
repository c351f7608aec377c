#pragma once
// One run of the SDK's stream grabber, from its opening to its closing.

#include "camera/device/OpenDevice.h"
#include "camera/stream/FramePool.h"

#include <tavix/camera/ImageStream.h>

#include <memory>
#include <string>

namespace Tavix {
class IStreamGrabber;
class IStreamMemory;
class IStreamResultSink;
} // namespace Tavix

namespace Tavix::detail {

/// Opens the grabber, gives it memory and starts the camera; Close, and the end of its life, undo all of it, whatever
/// state the camera is in. Throws the SDK's exceptions. Bound to a thread, except Queue and the counters.
class GrabSession {
public:
    GrabSession(std::shared_ptr<OpenDevice> device, const GrabOptions& options, std::shared_ptr<FramePool> pool);
    ~GrabSession() { Close(); }
    GrabSession(const GrabSession&) = delete;
    GrabSession& operator=(const GrabSession&) = delete;

    /// Everything but the start. The sink, which may be null, gets the results where the grabber offers that; HasSink
    /// tells.
    void Open(IStreamResultSink* sink);
    void StartCamera();
    /// Waits for a call of the sink that runs. Closing twice is harmless.
    void Close() noexcept;
    bool HasSink() const { return m_HasSink; }
    /// Makes one more buffer and queues it. False when the budget is spent or there is no memory, which is not tried
    /// again then. Not on the grabber's thread.
    bool AddFrame();
    bool CanGrow() const { return m_Frames < m_MaxFrames; }
    void Queue(Frame& frame);
    /// Takes the oldest result; false when there is none. CountTaken follows for results of a sink.
    bool Retrieve(GrabResult& result);
    void CountTaken() { --m_Queued; }
    /// Signalled while results are pending.
    const WaitObject& Ready() const;

    std::size_t Queued() const { return m_Queued; }
    std::size_t PayloadSize() const { return m_PayloadSize; }
    std::size_t Memory() const { return m_Frames * m_PayloadSize; }
    std::size_t Mapped() const { return m_MappedFrames * m_PayloadSize; }
    std::size_t Frames() const { return m_Frames; }
    const std::shared_ptr<OpenDevice>& Device() const { return m_Device; }

private:
    /// Of an image: what the stream itself says; of a stream that does not, the feature.
    std::int64_t StatedSize(IStreamMemory* stream) const;
    /// The size that the camera states for an image; throws when it cannot be so.
    std::size_t Believable(std::int64_t stated) const;
    void Prepare();
    bool Allocate(Frame& frame);
    /// `option`: of GrabOptions, for who is told of a value that cannot be; null for values of the library's own.
    void SetParameter(const char* name, std::size_t value, const char* option = nullptr);

    const std::shared_ptr<OpenDevice> m_Device;
    const GrabOptions m_Options;
    const std::shared_ptr<FramePool> m_Pool;
    IStreamGrabber* m_Grabber = nullptr; // borrowed from the device
    IStreamMemory* m_Mapper = nullptr;   // the same; null where there is none
    std::vector<StreamBufferHandle> m_Handles;
    std::string m_NoMemory; // why there was none; of the thread that makes buffers
    std::size_t m_PayloadSize = 0, m_MappedFrames = 0;
    std::atomic<std::size_t> m_MaxFrames{0}, m_Frames{0};
    std::atomic<std::size_t> m_Queued{0};
    bool m_IsPrepared = false, m_IsStarted = false, m_HasSink = false;
};

} // namespace Tavix::detail
