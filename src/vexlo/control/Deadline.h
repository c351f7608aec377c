#pragma once
// Time as the library's control roads see it: one clock, and deadlines that go along with a whole operation.

#include <algorithm>
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

/// The end of an operation: for all its commands, tries and pauses together. Who asks for several things at one moment
/// reads the clock once and passes it on. Re-entrant.
class Deadline {
public:
    using Duration = Clock::Duration;
    using TimePoint = Clock::TimePoint;

    explicit Deadline(Duration limit, TimePoint now = CurrentClock().Now()) : m_End(now + limit) {}

    /// The same, but over after `limit` at the latest.
    Deadline Within(Duration limit, TimePoint now = CurrentClock().Now()) const {
        Deadline sooner(limit, now);
        sooner.m_End = std::min(sooner.m_End, m_End);
        return sooner;
    }
    bool IsOver(TimePoint now = CurrentClock().Now()) const { return now >= m_End; }
    /// Never negative; rounded up.
    Duration Left(TimePoint now = CurrentClock().Now()) const {
        return std::max(std::chrono::ceil<Duration>(m_End - now), Duration(0));
    }
    /// The limit, or what is left when that is less.
    Duration Left(Duration limit, TimePoint now) const { return m_End - now >= limit ? limit : Left(now); }

private:
    Clock::TimePoint m_End;
};

} // namespace vexlo
