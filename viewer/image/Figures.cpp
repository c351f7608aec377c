#include "viewer/image/Figures.h"

#include <ctime>

namespace viewer {

void Figures::CountArrival(const Tavix::Image& image) {
    const Tavix::HostTime time = image.Time();
    const Tavix::MutexLock lock(m_Lock);
    ++m_Arrivals.frames;
    m_Arrivals.bytes += image.Payload().size;
    if (!time.IsKnown()) return;
    ++m_Arrivals.timed;
    m_Arrivals.latency += image.Arrival() - time.monotonic;
}

Json Figures::Report(const Tavix::GrabCounts& stream, const LiveFigures& live) const {
    Arrivals arrivals;
    {
        const Tavix::MutexLock lock(m_Lock);
        arrivals = m_Arrivals;
    }
    const auto ms = [](std::chrono::nanoseconds time) {
        return std::chrono::duration<double, std::milli>(time).count();
    };
    return {{"time", ms(std::chrono::steady_clock::now().time_since_epoch())},
            {"frames", arrivals.frames},
            {"bytes", arrivals.bytes},
            {"timed", arrivals.timed},
            {"latencyMs", ms(arrivals.latency)},
            {"missed", stream.missed},
            {"failed", stream.failed},
            {"starved", stream.starved},
            {"reconnects", stream.reconnects},
            {"shown", live.shown},
            {"sentBytes", live.bytes},
            {"made", live.made},
            {"workMs", ms(live.work)},
            {"drawn", live.timed},
            {"delayMs", ms(live.delay)},
            {"cpuSeconds", static_cast<double>(std::clock()) / CLOCKS_PER_SEC}};
}

} // namespace viewer
