#pragma once
// Time as the library's control roads see it: one clock, and deadlines that go along with a whole operation.

#include <chrono>

namespace vexlo {

/// What all waiting for answers is measured with. Thread-safe.
class Clock {
public:
    using Duration = std::chrono::milliseconds;
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual TimePoint Now() const = 0;
    virtual void Pause(Duration time) = 0;
};

/// The clock of the moment: the system's, unless a test has brought its own.
Clock& CurrentClock();
/// Null gives the system's clock back. Not while an operation is under way.
void InjectClock(Clock* clock);

/// For the border, which takes 0 for no limit.
inline unsigned int Milliseconds(Clock::Duration time) {
    return time.count() < 1 ? 1 : static_cast<unsigned int>(time.count());
}

/// The end of an operation: for all its commands, tries and pauses together. Re-entrant.
class Deadline {
public:
    using Duration = Clock::Duration;

    explicit Deadline(Duration limit) : m_End(CurrentClock().Now() + limit) {}

    /// The same, but over after `limit` at the latest.
    Deadline Within(Duration limit) const;
    bool IsOver() const { return CurrentClock().Now() >= m_End; }
    /// Never negative; rounded up.
    Duration Left() const;

private:
    Clock::TimePoint m_End;
};

} // namespace vexlo
