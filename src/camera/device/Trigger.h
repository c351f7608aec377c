#pragma once
// Triggers by software.

#include "camera/feature/FeatureSource.h"

#include <atomic>
#include <chrono>

namespace Tavix::detail {

/// When a camera was triggered last. Thread-safe.
class TriggerClock {
public:
    /// Waits until a period has passed since the last trigger; false when the deadline is before that.
    bool AwaitTurn(std::chrono::nanoseconds period, std::chrono::steady_clock::time_point deadline) const;
    void NoteTrigger() { m_Last = std::chrono::steady_clock::now().time_since_epoch().count(); }

private:
    std::atomic<std::chrono::steady_clock::rep> m_Last{0};
};

/// Whether the camera waits for triggers of its software.
bool WaitsForSoftware(FeatureSource& camera);
/// Waits until the camera can take a trigger. AccessError, Timeout.
void AwaitTrigger(FeatureSource& camera, const TriggerClock& clock, std::chrono::milliseconds timeout);
void FireTrigger(FeatureSource& camera, TriggerClock& clock);

} // namespace Tavix::detail
