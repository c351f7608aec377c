#pragma once
// Until when somebody waits.

#include <algorithm>
#include <chrono>
#include <optional>

namespace Tavix::detail {

/// The moment until which somebody waits; none: for ever.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

/// A negative time is for ever, and so is one beyond the clock's reach.
inline Deadline DeadlineAfter(std::chrono::steady_clock::time_point begin, std::chrono::milliseconds time) {
    using std::chrono::milliseconds;
    const auto reach = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::time_point::max() - begin);
    if (time.count() < 0 || time >= reach) return {};
    return begin + time;
}

inline Deadline DeadlineIn(std::chrono::milliseconds time) {
    return DeadlineAfter(std::chrono::steady_clock::now(), time);
}

inline bool IsOver(const Deadline& deadline) {
    return deadline && std::chrono::steady_clock::now() >= *deadline;
}

/// What is left of the time, none at least; negative for ever.
inline std::chrono::milliseconds TimeLeft(const Deadline& deadline) {
    using std::chrono::milliseconds;
    if (!deadline) return milliseconds(-1);
    const auto left = std::chrono::duration_cast<milliseconds>(*deadline - std::chrono::steady_clock::now());
    return std::max(left, milliseconds(0));
}

} // namespace Tavix::detail
