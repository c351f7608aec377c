// Which cameras do not answer: so that each of them is waited for once and not by everybody who asks.
#include "vexlo/control/SilenceNotes.h"

#include <algorithm>

namespace vexlo {
namespace {

using Duration = Clock::Duration;

constexpr Duration kProbeLimit{2000};
constexpr Duration kProbeConnectLimit{1500};
constexpr Duration kBriefLimit{900};
constexpr Duration kOwedLimit{600}; ///< the same where a reset may follow
constexpr Duration kGlanceLimit{300};
constexpr Duration kAtOnce{2000};    ///< who comes back that soon has lost nothing by a glance
constexpr Duration kResetEcho{5000}; ///< a reset may make a camera leave the bus

ControlTiming Brief(ControlTiming timing, Duration limit) {
    timing.isBrief = true;
    timing.briefLimit = limit;
    timing.connectLimit = std::min(timing.connectLimit, limit);
    return timing;
}

} // namespace

ControlTiming SilenceNotes::LimitsFor(const std::string& path, ControlTiming timing, bool isProbe) const {
    const MutexLock lock(m_Lock);
    const auto found = m_Notes.find(path);
    const Note note = found == m_Notes.end() ? Note{} : found->second;
    if (isProbe || note.resetAt != Clock::TimePoint{}) timing.mayReset = false;
    if (note.isSpent) {
        const bool isAtOnce = CurrentClock().Now() - note.silentAt < kAtOnce;
        const Duration limit = timing.mayReset ? kOwedLimit : kBriefLimit;
        timing.resetLimit = std::min(timing.resetLimit, kBriefLimit - kOwedLimit);
        return Brief(timing, isAtOnce ? kGlanceLimit : limit);
    }
    timing.connectLimit = std::max(timing.connectLimit - note.waited, Duration(0));
    if (isProbe && found != m_Notes.end()) {
        timing.connectLimit = std::min(timing.connectLimit, kProbeConnectLimit);
        timing.leastOpenLimit = kProbeLimit;
    }
    return timing;
}

void SilenceNotes::NoteAnswer(const Attempt& attempt) {
    const MutexLock lock(m_Lock);
    Note& note = m_Notes[attempt.path];
    note = Note{};
    note.bus = attempt.bus;
    note.id = attempt.id;
}

void SilenceNotes::NoteSilence(const Attempt& attempt) {
    const MutexLock lock(m_Lock);
    Note& note = m_Notes[attempt.path];
    note.bus = attempt.bus;
    note.id = attempt.id;
    note.waited += attempt.waited;
    note.isSpent = note.isSpent || !attempt.wasProbe;
    note.silentAt = CurrentClock().Now();
    if (attempt.wasReset) note.resetAt = note.silentAt;
}

void SilenceNotes::NoteFallenSilent(const usb::Backend* bus, const std::string& id, const std::string& path) {
    const MutexLock lock(m_Lock);
    Note& note = m_Notes[path];
    note.bus = bus;
    note.id = id;
    note.isSpent = true;
    note.silentAt = CurrentClock().Now();
}

void SilenceNotes::NoteDeparture(const usb::Backend* bus, const std::string& id) {
    const MutexLock lock(m_Lock);
    const auto now = CurrentClock().Now();
    for (auto at = m_Notes.begin(); at != m_Notes.end();) {
        const Note& note = at->second;
        const bool isEcho = note.resetAt != Clock::TimePoint{} && now - note.resetAt < kResetEcho;
        at = note.bus == bus && note.id == id && !isEcho ? m_Notes.erase(at) : std::next(at);
    }
}

} // namespace vexlo
