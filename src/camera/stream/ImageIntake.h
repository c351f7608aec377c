#pragma once
// What makes images of a session's results.

#include "camera/stream/GrabSession.h"
#include "camera/stream/MissedBlocks.h"
#include "camera/stream/StreamCounters.h"
#include "camera/time/HostClock.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

namespace Tavix::detail {

/// During one run of a session: each result becomes an image, or is counted and its buffer queued again. Bound to the
/// thread that takes the results, which with a sink is the grabber's.
class ImageIntake {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// What the images of a run have in common.
    struct Source {
        std::shared_ptr<FramePool> pool;
        std::shared_ptr<HostClock> clock;
        std::shared_ptr<const FrameOrigin> origin;
        std::optional<Time> awaySince; ///< of a camera that came back
    };
    ImageIntake(GrabSession& session, Source source, const GrabOptions& options, StreamCounters& counters);

    /// Empty for what the application does not get.
    Image Accept(const GrabResult& result);
    /// Whether an image came, or the run began, after that moment. Thread-safe.
    bool HasSign(Time since) const;

private:
    void CountFailed(const Frame& frame);

    GrabSession& m_Session;
    Source m_Source; // its `awaySince` until the first image
    const GrabOptions& m_Options;
    StreamCounters& m_Counters;
    MissedBlocks m_Missed;
    std::atomic<Time::rep> m_LastSign; // when an image came last, or the run began
};

} // namespace Tavix::detail
