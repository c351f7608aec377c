// A camera that is away, and images on their way out.
#include "camera/CallbackScope.h"
#include "camera/stream/Acquisition.h"

#include <tavix/camera/Error.h>

#include <algorithm>

namespace Tavix::detail {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kSeekStep{100};

} // namespace

bool Acquisition::Reopen() {
    const CallbackScope scope(this);
    return m_Core->TryReopen();
}

void Acquisition::SeekCamera(const Deadline& deadline) {
    try {
        if (Reopen()) {
            StartRun(m_AwaySince);
            m_IsAway = false;
            ++m_Counters.reconnects;
            return;
        }
    } catch (const std::exception& e) { // it may be booting, or gone again
        LogTrace(LogCategoryCamera(), kLogInfo, "'%s' cannot be had back yet: %s", m_Core->Info().friendlyName.c_str(),
                 Reason(e).c_str());
        StopRun();
        m_Core->LetGo();
    }
    if (m_Options.reconnect.count() > 0 && IsOver(DeadlineAfter(m_AwaySince, m_Options.reconnect))) {
        m_IsAway = false;
        m_IsRunning = false;
        throw Removed(m_Core->Info().friendlyName + " is unplugged and did not come back within " +
                      std::to_string(m_Options.reconnect.count()) + " ms");
    }
    auto until = Clock::now() + kSeekStep;
    if (deadline) until = std::min(until, *deadline);
    const auto pause = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count() + 1;
    m_Alarm.Wait(static_cast<unsigned int>(std::max<std::int64_t>(pause, 0)));
}

[[gnu::hot]] void Acquisition::HandOut(Image& image) {
    m_Numbers.HandOut(image.Inside());
    ++m_Counters.delivered;
}

void Acquisition::Drop(Image image) {
    m_Numbers.Drop(image.Inside());
    ++m_Counters.dropped;
}

} // namespace Tavix::detail
