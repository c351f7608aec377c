// Time as the library's control roads see it: one clock, and deadlines that go along with a whole operation.
#include "vexlo/control/Deadline.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace vexlo {
namespace {

class SystemClock final : public Clock {
public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
    void Pause(Duration time) override { std::this_thread::sleep_for(time); }
};

SystemClock g_SystemClock;
std::atomic<Clock*> g_Clock{&g_SystemClock};

} // namespace

Clock& CurrentClock() {
    return *g_Clock.load();
}

void InjectClock(Clock* clock) {
    g_Clock = clock != nullptr ? clock : &g_SystemClock;
}

Deadline Deadline::Within(Duration limit) const {
    Deadline sooner(limit);
    sooner.m_End = std::min(sooner.m_End, m_End);
    return sooner;
}

Deadline::Duration Deadline::Left() const {
    return std::max(std::chrono::ceil<Duration>(m_End - CurrentClock().Now()), Duration(0));
}

} // namespace vexlo
