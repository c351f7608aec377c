#pragma once
// What keeps a grabber in buffers.

#include "camera/stream/GrabSession.h"
#include "camera/stream/StreamCounters.h"
#include "core/Mutex.h"

#include <memory>
#include <string>

namespace Tavix::detail {

/// Queues the buffers that come back during one run of a session, and makes further ones while those are few. One
/// thread makes buffers; with a sink the grabber's own thread feeds, too, and never waits for the other.
class BufferFeed {
public:
    BufferFeed(GrabSession& session, std::shared_ptr<FramePool> pool, const GrabOptions& options,
               StreamCounters& counters);

    // For the thread that makes buffers.
    void Feed();
    void CountMemory();
    /// Before that thread waits for results: the pool rings when a buffer comes back, if they are few. False when some
    /// have come back already.
    bool SetBell();

    // For the grabber's thread.
    /// Queues what came back, unless the other one is just doing so, and wakes that if it is not enough.
    void FeedFromSink();

private:
    std::size_t EnoughQueued() const { return (m_Options.buffers + 1) / 2; }
    void QueueReturned() TAVIX_REQUIRES(m_Mutex);
    void NoteStarvation() TAVIX_REQUIRES(m_Mutex);

    GrabSession& m_Session;
    const std::shared_ptr<FramePool> m_Pool;
    const GrabOptions& m_Options;
    StreamCounters& m_Counters;
    Mutex m_Mutex; // held from taking buffers out of the pool until they are queued: starving is neither here nor there
    bool m_IsStarving TAVIX_GUARDED_BY(m_Mutex) = false;
};

} // namespace Tavix::detail
