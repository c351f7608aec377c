// What the library keeps between Init and Exit.
#include "vexlo/Library.h"

#include "vexlo/Mutex.h"
#include "vexlo/RemovalNotifier.h"
#include "vexlo/Vexlo.h"

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
        if (::getpid() != m_Process) static_cast<void>(new std::shared_ptr<Library>(g_Library));
    }

private:
    const pid_t m_Process = ::getpid();
} g_ForkGuard; // dies before the library

} // namespace

std::shared_ptr<Library> Library::Get() {
    const MutexLock lock(g_LibraryLock);
    return g_Library;
}

Library::Library(BackendList backends)
    : m_Backends(std::move(backends)), m_Notifier(std::make_shared<RemovalNotifier>()) {
    for (const auto& backend : m_Backends) {
        const usb::Backend* bus = backend.get();
        m_Hotplugs.push_back(
            backend->RegisterHotplug([notifier = m_Notifier, bus](usb::HotplugEvent event, const std::string& id) {
                if (event == usb::HotplugEvent::Left) notifier->BusReportsRemoval(bus, id);
            }));
    }
}

Library::~Library() {
    for (std::size_t i = 0; i < m_Backends.size(); ++i)
        if (m_Hotplugs[i] != 0) m_Backends[i]->DeregisterHotplug(m_Hotplugs[i]);
    m_Notifier->Stop();
}

VxStatus Init() {
    const MutexLock lock(g_LibraryLock);
    if (g_Uses == 0) {
        BackendList backends;
        const VxStatus status = CreateBackends(backends);
        if (status != VX_OK) return status;
        g_Library = std::make_shared<Library>(std::move(backends));
    }
    ++g_Uses;
    return VX_OK;
}

void Exit() {
    std::shared_ptr<Library> last;
    const MutexLock lock(g_LibraryLock);
    if (g_Uses == 0 || --g_Uses != 0) return;
    last.swap(g_Library); // dies after the lock is free: the notifier's thread may be in need of it
}

VxStatus IsLibraryLoadable() {
    if (Library::Get()) return VX_OK; // it is loaded; a second bus would be opened only to be closed again
    BackendList backends;
    return CreateBackends(backends);
}

} // namespace vexlo
