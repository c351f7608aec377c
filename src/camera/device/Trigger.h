#pragma once
// Triggers by software.

#include "camera/feature/FeatureSource.h"

#include <atomic>
#include <chrono>

namespace Tavix::detail {

/// When a camera was triggered last. Thread-safe.
class TriggerClock {
public:
    std::chrono::steady_clock::time_point Last() const {
        return std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(m_Last));
    }
    void NoteTrigger() { m_Last = std::chrono::steady_clock::now().time_since_epoch().count(); }

private:
    std::atomic<std::chrono::steady_clock::rep> m_Last{0};
};

/// Whether the camera waits for triggers of its software.
bool WaitsForSoftware(FeatureSource& camera);
/// Waits until the camera can take a trigger; false when it cannot in that time. AccessError.
bool AwaitTrigger(FeatureSource& camera, const TriggerClock& clock, std::chrono::milliseconds timeout);
[[noreturn]] void ThrowNotReady(std::chrono::milliseconds timeout);
/// Without waiting until the command is done.
void FireTrigger(FeatureSource& camera, TriggerClock& clock);
/// Until it is. Timeout.
void AwaitFired(FeatureSource& camera);

} // namespace Tavix::detail
