#pragma once
// What came from a camera and what looking at it took, as the figures that browsers plot.

#include "core/Mutex.h"
#include "viewer/image/LiveImage.h"
#include "viewer/server/Protocol.h"

#include <tavix/camera/Camera.h>

#include <chrono>
#include <cstdint>

namespace viewer {

/// Thread-safe.
class Figures {
public:
    void CountArrival(const Tavix::Image& image);
    /// All of it since the camera was opened, but for the counts of the stream, which are since its start.
    Json Report(const Tavix::GrabCounts& stream, const LiveFigures& live) const;

private:
    struct Arrivals {
        std::uint64_t frames = 0, bytes = 0, timed = 0;
        std::chrono::nanoseconds latency{};
    };

    mutable Tavix::Mutex m_Lock;
    Arrivals m_Arrivals TAVIX_GUARDED_BY(m_Lock);
};

} // namespace viewer
