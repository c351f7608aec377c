#pragma once
// Versions that cameras have stated, so that who only looks does not open a camera time and again.

#include "vexlo/Mutex.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vexlo {

/// By path and GUID, from the first answer until the camera leaves the bus: one that comes back may bear other
/// firmware. Thread-safe.
class VersionNotes {
public:
    std::optional<std::string> Find(const std::string& path, const std::string& guid) const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        const auto found = m_Notes.find(path);
        if (found == m_Notes.end() || found->second.guid != guid) return std::nullopt;
        return found->second.version;
    }
    /// To be taken before a camera is asked.
    std::uint64_t Departures() const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        return m_Departures;
    }
    /// Unless something has left since `departures`, which may have been the camera that was asked.
    void Note(const std::string& path, const std::string& guid, const std::string& version, std::uint64_t departures)
        TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        if (m_Departures == departures) m_Notes[path] = {guid, version};
    }
    /// A device has left a bus of that name. Needs no memory.
    void NoteDeparture(std::string_view bus, std::string_view id) TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        ++m_Departures;
        for (auto note = m_Notes.begin(); note != m_Notes.end();)
            note = IsOf(note->first, bus, id) ? m_Notes.erase(note) : std::next(note);
    }

private:
    /// "<bus>:<id>#..."
    static bool IsOf(std::string_view path, std::string_view bus, std::string_view id) {
        const std::size_t mark = bus.size() + 1 + id.size();
        return path.size() > mark && path.compare(0, bus.size(), bus) == 0 && path[bus.size()] == ':' &&
               path.compare(bus.size() + 1, id.size(), id) == 0 && path[mark] == '#';
    }

    struct Entry {
        std::string guid, version;
    };

    mutable Mutex m_Lock;
    std::map<std::string, Entry> m_Notes TAVIX_GUARDED_BY(m_Lock); // by path
    std::uint64_t m_Departures TAVIX_GUARDED_BY(m_Lock) = 0;
};

} // namespace vexlo
