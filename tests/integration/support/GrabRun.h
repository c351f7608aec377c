#pragma once
// A grab from one camera, step by step.

#include <tavix/Tavix.h>

#include <cstdint>
#include <vector>

namespace integration {

/// What came back for one buffer.
struct Frame {
    Tavix::GrabResult result;
    std::vector<std::uint8_t> bytes; ///< copy of the whole buffer
};

/// Opens the stream grabber of an open device, prepares it for the camera's payload and queues its buffers; undoes all
/// of it at the end of its scope, whatever state the camera is in. Bound to a thread.
class GrabRun {
public:
    explicit GrabRun(Tavix::ITavixDevice& device, unsigned int buffers = 6);
    ~GrabRun();
    GrabRun(const GrabRun&) = delete;
    GrabRun& operator=(const GrabRun&) = delete;

    void Start();
    void Stop();
    /// The next result, queued again unless told otherwise; a result with undefined status when none came in time.
    enum class Then { Requeue, Keep };
    Frame Next(Then then = Then::Requeue);
    /// The results of the next `count` buffers.
    std::vector<Frame> Next(std::size_t count);
    /// All results that are there without waiting.
    std::vector<Tavix::GrabResult> Drain();
    Tavix::IStreamGrabber& Grabber() { return m_Grabber; }
    std::size_t BufferSize() const { return m_Size; }

    static constexpr unsigned int kTimeoutMs = 10000;

private:
    Tavix::ITavixDevice& m_Device;
    Tavix::IStreamGrabber& m_Grabber;
    std::size_t m_Size;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
};

} // namespace integration
