#pragma once
// The device's time: nanoseconds since it was made, the same for latch, leaders, events and chunks.

#include <chrono>
#include <cstdint>
#include <optional>

namespace virtualcam {

using TimePoint = std::chrono::steady_clock::time_point;
using std::chrono::milliseconds;

/// Re-entrant; constant after construction.
class Clock {
public:
    static TimePoint Now() { return std::chrono::steady_clock::now(); }
    std::uint64_t Nanoseconds(TimePoint at) const {
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(at - m_Start).count());
    }
    std::uint64_t Nanoseconds() const { return Nanoseconds(Now()); }

private:
    const TimePoint m_Start = Now() - milliseconds(1); // no event ever bears the time 0
};

/// The earlier of two optional deadlines.
inline std::optional<TimePoint> Earlier(std::optional<TimePoint> a, std::optional<TimePoint> b) {
    if (!a || !b) return a ? a : b;
    return *a < *b ? a : b;
}

} // namespace virtualcam
