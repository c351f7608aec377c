#pragma once
// What the library keeps between Init and Exit.

#include "vexlo/control/SilenceNotes.h"
#include "vexlo/device/CameraNotes.h"
#include "vexlo/discovery/BackendSet.h"
#include "vexlo/discovery/VersionNotes.h"

#include <memory>
#include <string>

namespace vexlo {

class RemovalNotifier;

/// The buses, the notifier of removals, and what was learnt of cameras. Thread-safe.
class Library {
public:
    /// Null when Init has not been called.
    static std::shared_ptr<Library> Get();

    explicit Library(BackendList backends);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    const BackendList& Backends() const { return m_Backends; }
    const std::shared_ptr<RemovalNotifier>& Notifier() const { return m_Notifier; }
    CameraNotes& Notes() { return m_Notes; }
    SilenceNotes& Silence() { return m_Silence; }
    /// Null when a bus does not tell of departures.
    VersionNotes* Versions() { return m_HearsOfDepartures ? &m_Versions : nullptr; }

private:
    class HotplugWatch;

    void Watch(usb::Backend& bus);

    const BackendList m_Backends;
    const std::shared_ptr<RemovalNotifier> m_Notifier;
    SilenceNotes m_Silence;
    CameraNotes m_Notes;
    VersionNotes m_Versions;
    bool m_HearsOfDepartures = true;                       ///< of all buses; constant after construction
    std::vector<std::unique_ptr<HotplugWatch>> m_Hotplugs; ///< constant after construction; ends before the rest
};

} // namespace vexlo
