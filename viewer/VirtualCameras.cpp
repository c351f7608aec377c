#include "VirtualCameras.h"

#include "Viewer.h"

#include <cstdlib>
#include <stdexcept>

#include <dlfcn.h>

namespace viewer {
namespace {

using Control = bool (*)(const char* request, std::string& answer);

/// The library is loaded already, where the transport layer found it; it is never unloaded.
Control FindControl() {
    for (const char* name : {"libtavixvirtualcam.so"}) {
        void* const library = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
        void* const symbol = library ? dlsym(library, "VirtualCameraControl") : nullptr;
        if (symbol) return reinterpret_cast<Control>(symbol);
    }
    return nullptr;
}

} // namespace

void PrepareVirtualCameras() {
    setenv("TAVIX_VIRTUAL_CAMERAS", R"({"cameras": []})", /*overwrite=*/0);
}

Json AskVirtualCameras(const Json& request) {
    const Control control = FindControl();
    if (!control) throw std::runtime_error("virtual cameras are not installed");
    std::string answer;
    if (!control(Dump(request).c_str(), answer)) throw std::runtime_error(answer);
    return Json::parse(answer);
}

} // namespace viewer
