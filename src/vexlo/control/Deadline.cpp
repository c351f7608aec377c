// Time as the library's control roads see it: one clock, and deadlines that go along with a whole operation.
#include "vexlo/control/Deadline.h"

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

[[gnu::hot]] Clock& CurrentClock() {
    return *g_Clock.load();
}

void InjectClock(Clock* clock) {
    g_Clock = clock != nullptr ? clock : &g_SystemClock;
}

} // namespace vexlo
