#pragma once
// The device's time: nanoseconds since it was made, the same for latch, leaders, events and chunks.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

namespace virtualcam {

using TimePoint = std::chrono::steady_clock::time_point;
using std::chrono::milliseconds;

/// How a camera's clock differs from this computer's.
struct ClockSettings {
    double driftPpm = 0;           ///< so many microseconds it gains in a second; below 0: loses
    std::uint32_t jumpAfterMs = 0; ///< when it jumps, counted from power-on on this computer's clock ...
    int jumpByMs = 0;              ///< ... and how far; below 0: back, but never to before its beginning
};

/// Constant after construction, but for Jump. Bound to a thread; its owner locks.
class Clock {
public:
    explicit Clock(const ClockSettings& settings = {}) : m_Settings(settings) {}

    static TimePoint Now() { return std::chrono::steady_clock::now(); }
    std::uint64_t Nanoseconds(TimePoint at) const {
        const std::int64_t passed = Count(at - m_Start);
        const std::int64_t gained = static_cast<std::int64_t>(static_cast<double>(passed) * m_Settings.driftPpm * 1e-6);
        const bool jumped = passed >= Count(milliseconds(m_Settings.jumpAfterMs));
        const std::int64_t shift = m_Jumped + (jumped ? Count(milliseconds(m_Settings.jumpByMs)) : 0);
        return static_cast<std::uint64_t>(std::max<std::int64_t>(passed + gained + shift, 1));
    }
    std::uint64_t Nanoseconds() const { return Nanoseconds(Now()); }
    /// Sets it forward or, below 0, back.
    void Jump(std::chrono::nanoseconds by) { m_Jumped += by.count(); }

private:
    const ClockSettings m_Settings;
    const TimePoint m_Start = Now() - milliseconds(1); // no event ever bears the time 0
    std::int64_t m_Jumped = 0;

    template<class Duration>
    static std::int64_t Count(Duration time) {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
    }
};

/// The earlier of two optional deadlines.
inline std::optional<TimePoint> Earlier(std::optional<TimePoint> a, std::optional<TimePoint> b) {
    if (!a || !b) return a ? a : b;
    return *a < *b ? a : b;
}

} // namespace virtualcam
