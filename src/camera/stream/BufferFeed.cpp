#include "camera/stream/BufferFeed.h"

#include "camera/CameraLog.h"

namespace Tavix::detail {

BufferFeed::BufferFeed(GrabSession& session, std::shared_ptr<FramePool> pool, const GrabOptions& options,
                       StreamCounters& counters)
    : m_Session(session), m_Pool(std::move(pool)), m_Options(options), m_Counters(counters) {}

void BufferFeed::Feed() {
    const MutexLock guard(m_Mutex);
    QueueReturned();
    while (m_Session.Queued() < EnoughQueued() && m_Session.AddFrame())
        CountMemory();
    NoteStarvation();
}

void BufferFeed::CountMemory() {
    m_Counters.buffers = m_Session.Frames();
    m_Counters.memory = m_Session.Memory();
    m_Counters.mapped = m_Session.Mapped();
}

bool BufferFeed::SetBell() {
    const bool isHungry = m_Session.Queued() <= m_Options.buffers / 2;
    m_Pool->SetHungry(isHungry);
    return !isHungry || !m_Pool->HasReturned(); // they may have come before the bell was set
}

[[gnu::hot]] void BufferFeed::FeedFromSink() {
    if (m_Mutex.try_lock()) {
        const MutexLock guard(m_Mutex, std::adopt_lock);
        QueueReturned();
    }
    const bool isShort = m_Session.Queued() < EnoughQueued() && m_Session.CanGrow();
    m_Pool->SetHungry(m_Session.Queued() == 0);
    if (isShort || m_Session.Queued() == 0) m_Pool->Ring();
}

void BufferFeed::QueueReturned() {
    for (Frame* frame = m_Pool->TakeReturned(); frame;) {
        Frame* const next = frame->next; // queued, it may be back before the next line
        m_Session.Queue(*frame);
        frame = next;
    }
}

void BufferFeed::NoteStarvation() {
    const bool isStarving = m_Session.Queued() == 0;
    if (isStarving && !m_IsStarving && !m_Pool->HasReturned()) {
        ++m_Counters.starved;
        LogTrace(
            LogCategoryCamera(), kLogWarning,
            "The application keeps all %zu images of '%s' (%zu bytes); what the camera sends until one is given back "
            "is lost. keepBudget allows more.",
            m_Session.Frames(), m_Session.Device()->Name().c_str(), m_Session.Memory());
    }
    m_IsStarving = isStarving;
    m_Counters.isStarving = isStarving;
}

} // namespace Tavix::detail
