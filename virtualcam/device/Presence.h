#pragma once
// When a device leaves its bus and comes back of its own accord.

#include <optional>

#include "virtualcam/firmware/Clock.h"

namespace virtualcam {

///            .------- replugged, or by hand -------.
///            v                                     |
///   off --> on --- restart ----------------------> off
///           |  '-- gone ---> leaving --- due -----> ^
///           '----- gone, or by hand ---------------'
///
/// On real buses transfers often fail for a moment before the system knows that the device has gone: it is leaving.
/// A timer that is due stays so until what it asks for is done. Bound to a thread; its owner locks.
class Presence {
public:
    /// The device is on the bus.
    void Came() {
        m_Return.reset();
        m_Restart.reset();
    }
    /// The device is off the bus, and comes back at that time, if at all.
    void Left(std::optional<TimePoint> back) {
        m_Leaving.reset();
        m_Restart.reset();
        m_Return = back;
    }
    /// It does not come back by itself.
    void StayAway() { m_Return.reset(); }
    void LeaveAt(TimePoint at) { m_Leaving = at; }
    void RestartAt(TimePoint at) { m_Restart = at; }

    bool IsLeaving() const { return m_Leaving.has_value(); }
    bool IsReturnDue(TimePoint now) const { return m_Return && now >= *m_Return; }
    bool IsLeavingDue(TimePoint now) const { return m_Leaving && now >= *m_Leaving; }
    bool IsRestartDue(TimePoint now) const { return m_Restart && now >= *m_Restart; }
    std::optional<TimePoint> Deadline() const { return Earlier(Earlier(m_Return, m_Restart), m_Leaving); }

private:
    std::optional<TimePoint> m_Return;
    std::optional<TimePoint> m_Restart;
    std::optional<TimePoint> m_Leaving;
};

} // namespace virtualcam
