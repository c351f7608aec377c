// What the library keeps between Init and Exit.
#include "vexlo/Library.h"

#include "vexlo/Mutex.h"
#include "vexlo/NoThrow.h"
#include "vexlo/Vexlo.h"
#include "vexlo/discovery/RemovalNotifier.h"

#include <unistd.h>

namespace vexlo {
namespace {

Mutex g_LibraryLock;
unsigned int g_Uses TAVIX_GUARDED_BY(g_LibraryLock) = 0;
std::shared_ptr<Library> g_Library TAVIX_GUARDED_BY(g_LibraryLock);

/// A child that the process has forked has none of its threads, and ends without waiting for them: what they were
/// about to do stays as it was.
class ForkGuard {
public:
    ~ForkGuard() TAVIX_NO_THREAD_SAFETY_ANALYSIS { // the lock may have been somebody's when it was copied
        if (::getpid() != m_Process) s_Kept = new std::shared_ptr<Library>(g_Library);
    }

private:
    static inline std::shared_ptr<Library>* s_Kept = nullptr; // so that nobody who looks for leaks finds one
    const pid_t m_Process = ::getpid();
} g_ForkGuard; // dies before the library

} // namespace

std::shared_ptr<Library> Library::Get() {
    const MutexLock lock(g_LibraryLock);
    return g_Library;
}

/// The reports of a bus, until the end of the scope. Bound to a thread.
class Library::HotplugWatch {
public:
    HotplugWatch(usb::Backend& bus, usb::HotplugHandler handler)
        : m_Bus(bus), m_Registration(bus.RegisterHotplug(std::move(handler))) {}
    ~HotplugWatch() {
        if (m_Registration != 0) m_Bus.DeregisterHotplug(m_Registration);
    }
    bool HasReports() const { return m_Registration != 0; }
    HotplugWatch(const HotplugWatch&) = delete;
    HotplugWatch& operator=(const HotplugWatch&) = delete;

private:
    usb::Backend& m_Bus;
    const std::uint64_t m_Registration; ///< 0 for a bus without reports
};

Library::Library(BackendList backends)
    : m_Backends(std::move(backends)), m_Notifier(std::make_shared<RemovalNotifier>()) {
    m_Hotplugs.reserve(m_Backends.size());
    for (const auto& backend : m_Backends)
        Watch(*backend);
}

Library::~Library() {
    m_Hotplugs.clear();
    m_Notifier->Stop();
}

void Library::Watch(usb::Backend& bus) {
    m_Hotplugs.push_back(
        std::make_unique<HotplugWatch>(bus, [this, &bus](usb::HotplugEvent event, const std::string& id) {
            if (event != usb::HotplugEvent::Left) return;
            m_Silence.NoteDeparture(&bus, id);
            m_Versions.NoteDeparture(bus.Name(), id);
            m_Notifier->BusReportsRemoval(&bus, id);
        }));
    m_HearsOfDepartures = m_HearsOfDepartures && m_Hotplugs.back()->HasReports();
}

VxStatus Init() {
    return NoThrow([] {
        const MutexLock lock(g_LibraryLock);
        if (g_Uses == 0) {
            BackendList backends;
            const VxStatus status = CreateBackends(backends);
            if (status != VX_OK) return status;
            g_Library = std::make_shared<Library>(std::move(backends));
        }
        ++g_Uses;
        return VX_OK;
    });
}

void Exit() {
    std::shared_ptr<Library> last;
    const MutexLock lock(g_LibraryLock);
    if (g_Uses == 0 || --g_Uses != 0) return;
    last.swap(g_Library); // dies after the lock is free: the notifier's thread may be in need of it
}

VxStatus IsLibraryLoadable() {
    return NoThrow([] {
        if (Library::Get()) return VX_OK; // it is loaded; a second bus would be opened only to be closed again
        BackendList backends;
        return CreateBackends(backends);
    });
}

} // namespace vexlo
