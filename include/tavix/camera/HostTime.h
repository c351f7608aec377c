#pragma once
// The moment of a camera's time stamp on the host's clocks.

#include <chrono>

namespace Tavix {

/// A moment on both clocks of the host. Re-entrant.
struct HostTime {
    /// CLOCK_MONOTONIC: for differences. Never set back.
    std::chrono::steady_clock::time_point monotonic{};
    /// CLOCK_REALTIME: for names and logs, as it stood when the image came.
    std::chrono::system_clock::time_point real{};
    /// The true moment is at most so far away; negative when nothing is known, and the moment then is that of arrival.
    std::chrono::nanoseconds bound{-1};

    bool IsKnown() const { return bound.count() >= 0; }
};

} // namespace Tavix
