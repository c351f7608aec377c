#include "camera/stream/ImageIntake.h"

namespace Tavix::detail {
namespace {

using Clock = std::chrono::steady_clock;

} // namespace

ImageIntake::ImageIntake(GrabSession& session, Source source, const GrabOptions& options, StreamCounters& counters)
    : m_Session(session), m_Source(std::move(source)), m_Options(options), m_Counters(counters),
      m_LastSign(Clock::now().time_since_epoch().count()) {}

[[gnu::hot]] Image ImageIntake::Accept(const GrabResult& result) {
    Frame& frame = *static_cast<Frame*>(const_cast<void*>(result.Context()));
    frame.Describe(result, m_Session.PayloadSize());
    frame.arrival = Clock::now();
    if (!result.Succeeded()) CountFailed(frame);
    if (!result.Succeeded() && (!m_Options.incomplete || frame.payloadSize == 0)) {
        if (!m_Session.Device()->GetRemoval().HasHappened()) m_Session.Queue(frame);
        return {};
    }
    m_Counters.missed += m_Missed.Note(frame.blockId, /*isBroken=*/!frame.defect.empty());
    if (frame.origin != m_Source.origin) frame.origin = m_Source.origin;
    if (m_Source.awaySince) {
        frame.gapBefore = frame.arrival - *m_Source.awaySince;
        m_Source.awaySince.reset();
    }
    // Relaxed: the reader compares it with a time, and reads nothing else by it.
    m_LastSign.store(frame.arrival.time_since_epoch().count(), std::memory_order_relaxed);
    frame.time = m_Source.clock->TimeOf(frame.cameraTime, frame.arrival);
    return Image(m_Source.pool->Lend(frame));
}

void ImageIntake::CountFailed(const Frame& frame) {
    m_Missed.NoteBroken();
    if (m_Session.Device()->IsByRemoval(frame.errorCode)) return; // these buffers wait, and come back empty
    m_Counters.CountFailed(frame.defect);
}

bool ImageIntake::HasSign(Time since) const {
    return Time(Clock::duration(m_LastSign)) > since;
}

} // namespace Tavix::detail
