// The buses that the library looks for cameras on.
#include "vexlo/discovery/BackendSet.h"

#include "vexlo/Logging.h"
#include "vexlo/Mutex.h"
#include "vexlo/Vexlo.h"

#include "usb/LoadedBackend.h"
#include "usb/libusb/LibusbBackend.h"
#include "usb/trace/TracedBackend.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace vexlo {
namespace {

constexpr const char* kVirtualSwitch = "TAVIX_VIRTUAL_CAMERAS";
constexpr const char* kVirtualLibrary = "libtavixvirtualcam.so";

Mutex g_InjectedLock;
BackendList g_Injected TAVIX_GUARDED_BY(g_InjectedLock);

BackendList Injected() {
    const MutexLock lock(g_InjectedLock);
    return g_Injected;
}

/// Folder of this library with a slash behind it; empty when the loader does not tell.
std::string OwnFolder() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&Init), &info) == 0 || info.dli_fname == nullptr) return {};
    const std::string path = info.dli_fname;
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::unique_ptr<usb::Backend> LoadVirtualBackend(const std::string& settings) {
    std::string reason;
    const std::string folder = OwnFolder();
    if (!folder.empty())
        if (auto backend = usb::LoadBackend(folder + kVirtualLibrary, settings, reason)) return backend;
    std::string reasonByLoader;
    auto backend = usb::LoadBackend(kVirtualLibrary, settings, reasonByLoader);
    if (!backend) Log(Tavix::kLogError, "Virtual cameras: %s; %s", reason.c_str(), reasonByLoader.c_str());
    return backend;
}

} // namespace

VxStatus CreateBackends(BackendList& backends) {
    backends = Injected();
    if (!backends.empty()) return VX_OK;
    std::string reason;
    if (auto real = usb::CreateLibusbBackend(reason)) {
        backends.push_back(usb::Traced(std::move(real), usb::TraceFile::OfEnvironment()));
    } else {
        Log(Tavix::kLogWarning, "The USB cannot be reached: %s", reason.c_str());
    }
    const char* settings = secure_getenv(kVirtualSwitch);
    if (settings != nullptr && *settings != '\0') {
        auto virtualBus = LoadVirtualBackend(settings);
        if (!virtualBus) return VX_E_BACKEND;
        backends.push_back(usb::Traced(std::move(virtualBus), usb::TraceFile::OfEnvironment()));
    }
    return backends.empty() ? VX_E_USB_NOT_SUPPORTED : VX_OK;
}

void InjectBackends(BackendList backends) {
    const MutexLock lock(g_InjectedLock);
    g_Injected = std::move(backends);
}

} // namespace vexlo
