#pragma once
// A grab for measurements: one camera, eight buffers, and what the camera says of how it was served.

#include "BenchCamera.h"

#include <array>
#include <cstdint>
#include <vector>

namespace bench {

/// How often and how long the camera's stream waited for a transfer of the host, as the camera itself counts it.
struct Waits {
    std::uint64_t blocks = 0;
    double seconds = 0;                   ///< altogether
    std::array<std::uint32_t, 32> gaps{}; ///< between two blocks: how many lasted from 2^i to below 2^(i+1) ns
    /// Seconds that this part of the gaps does not reach: a power of two of nanoseconds.
    double Gap(double part) const;
    void Add(const Waits& other);
};
Waits operator-(const Waits& after, const Waits& before);

/// Prepared and streaming from its construction to its end. Bound to a thread.
class StreamGrab {
public:
    explicit StreamGrab(BenchCamera& camera);
    ~StreamGrab();
    StreamGrab(const StreamGrab&) = delete;
    StreamGrab& operator=(const StreamGrab&) = delete;

    /// Takes frames as they come.
    void Frames(unsigned int count);
    /// The same one by one; seconds from the last byte of each frame to the return of the wait for it. A frame is left
    /// out when the next one was there before the camera could be asked.
    std::vector<double> Latencies(unsigned int count);

    std::size_t Size() const { return m_Size; }
    /// Takes frames as they come; how the camera waited meanwhile.
    Waits WaitsIn(unsigned int count);
    /// Payload bytes that the library copied since the grab was prepared, as the stream itself counts them.
    std::uint64_t CopiedBytes();

    unsigned int lost = 0;     ///< frames that failed or never came
    std::uint64_t skipped = 0; ///< block ids that no frame bore

private:
    static constexpr unsigned int kBuffers = 8;

    BenchCamera& m_Camera;
    const std::size_t m_Size;
    Tavix::IStreamGrabber& m_Grabber;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
    std::uint64_t m_NextBlock = 0;

    Waits CountWaits();
    void SetParameter(const char* name, std::int64_t value);
    bool Await();
    void Take(const Tavix::GrabResult& result);
};

} // namespace bench
