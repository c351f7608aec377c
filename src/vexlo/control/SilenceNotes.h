#pragma once
// Which cameras do not answer: so that each of them is waited for once and not by everybody who asks.

#include "usb/Backend.h"
#include "vexlo/control/ControlChannel.h"

#include <map>
#include <string>

namespace vexlo {

/// The memory belongs to the camera, by its path, and lasts until it answers or is plugged in anew:
///
///   nothing known --silent--> waited for, and reset once --silent--> every further attempt is brief
///        ^                                                                      |
///        +------------------------- answers, or leaves the bus -----------------+
///
/// A probe waits as well, though not for long with a camera that was seen before, and never resets; what it has waited
/// is not waited again. When a camera fell silent after an opening's first answer, its reset is still owed: the first
/// attempt that gets no answer at all makes up for it, and the next one sees what came of it if that takes long. So
/// does the first opening of a camera that fell silent while it was open: it was waited for then. Thread-safe.
class SilenceNotes {
public:
    /// The same timing with the limits of an attempt to open the camera now.
    ControlTiming LimitsFor(const std::string& path, ControlTiming timing, bool isProbe) const TAVIX_EXCLUDES(m_Lock);

    struct Attempt {
        const usb::Backend* bus = nullptr;
        std::string id; ///< of the device on the bus
        std::string path;
        Clock::Duration waited{0};
        bool wasProbe = false;
        bool wasReset = false;
    };
    void NoteAnswer(const Attempt& attempt) TAVIX_EXCLUDES(m_Lock);
    void NoteSilence(const Attempt& attempt) TAVIX_EXCLUDES(m_Lock);

    /// A camera that is there, and was open until now, did not answer any more.
    void NoteFallenSilent(const usb::Backend* bus, const std::string& id, const std::string& path)
        TAVIX_EXCLUDES(m_Lock);

    /// A device has left the bus. A camera that has just been reset leaves as well, and is none the better for it.
    void NoteDeparture(const usb::Backend* bus, const std::string& id) TAVIX_EXCLUDES(m_Lock);

private:
    struct Note {
        const usb::Backend* bus = nullptr;
        std::string id;
        Clock::Duration waited{0};
        bool isSpent = false; ///< it was waited for as long as anything is
        Clock::TimePoint resetAt{};
        Clock::TimePoint silentAt{}; ///< the last attempt's end
    };

    mutable Mutex m_Lock;
    std::map<std::string, Note> m_Notes TAVIX_GUARDED_BY(m_Lock);
};

} // namespace vexlo
