#pragma once
// Which values of a camera change by themselves.

#include <chrono>
#include <map>
#include <string>

namespace viewer {

/// Temperatures, counters, clocks: what is seen to change while nobody sets anything is not told as what a setting has
/// changed. Forgotten when it has stood still for a while, since an automatic control may have been switched off.
/// Bound to a thread.
class Restless {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds kSettles{1}; // what comes sooner may be a setting's late effect
    static constexpr std::chrono::minutes kRemembered{1};

    void NoteSetting(Clock::time_point now) { m_LastSetting = now; }
    /// Whether what changes now changes by itself.
    bool IsQuiet(Clock::time_point now) const { return now >= m_LastSetting + kSettles; }
    void NoteChange(const std::string& name, Clock::time_point now) {
        if (IsQuiet(now)) m_Seen[name] = now;
    }
    bool Is(const std::string& name, Clock::time_point now) const {
        const auto seen = m_Seen.find(name);
        return seen != m_Seen.end() && now < seen->second + kRemembered;
    }

private:
    Clock::time_point m_LastSetting = Clock::time_point() - kSettles;
    std::map<std::string, Clock::time_point> m_Seen;
};

} // namespace viewer
