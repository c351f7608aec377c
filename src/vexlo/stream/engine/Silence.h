#pragma once
// How long nothing has come of a stream.

#include <algorithm>
#include <chrono>

namespace vexlo {

/// A camera is silent as well before its acquisition was started, which the application does with a write, and while
/// it waits for a trigger or a long exposure. So time counts from the latest of these on: the stream was switched on,
/// a transfer ended, the application wrote; and not at all before it wrote something. Bound to a thread.
class Silence {
public:
    using Clock = std::chrono::steady_clock;

    /// `timeout` 0: silence never lasts too long.
    explicit Silence(std::chrono::milliseconds timeout) : m_Timeout(timeout) {}

    void SwitchedOn(Clock::time_point now) {
        if (m_FirstOn == Clock::time_point{}) m_FirstOn = now;
        m_Since = now;
    }
    /// Something came, or nothing can come.
    void Break(Clock::time_point now) { m_Since = now; }
    /// It is no matter any more.
    void Ignore() { m_Timeout = m_Timeout.zero(); }
    bool IsIgnored() const { return m_Timeout == m_Timeout.zero(); }

    bool IsTooLong(Clock::time_point now, Clock::time_point lastWrite) const {
        if (IsIgnored() || lastWrite < m_FirstOn) return false;
        return now >= std::max(m_Since, lastWrite) + m_Timeout;
    }
    std::chrono::milliseconds Timeout() const { return m_Timeout; }

private:
    std::chrono::milliseconds m_Timeout;
    Clock::time_point m_FirstOn{};
    Clock::time_point m_Since{};
};

} // namespace vexlo
