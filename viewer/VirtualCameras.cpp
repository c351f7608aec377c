#include "VirtualCameras.h"

#include "Viewer.h"

#include <tavix/camera/CameraInfo.h>

#include <cstdlib>
#include <stdexcept>

#include <dlfcn.h>

namespace viewer {
namespace {

using Control = bool (*)(const char* request, std::string& answer);

/// The library is loaded already, where the transport layer found it; it is never unloaded.
Control FindControl() {
    void* const library = dlopen("libtavixvirtualcam.so", RTLD_NOW | RTLD_NOLOAD);
    return library ? reinterpret_cast<Control>(dlsym(library, "VirtualCameraControl")) : nullptr;
}

} // namespace

void PrepareVirtualCameras() {
    setenv("TAVIX_VIRTUAL_CAMERAS", R"({"cameras": []})", /*overwrite=*/0);
}

Json AskVirtualCameras(const Json& request) {
    (void)Tavix::Cameras(); // whoever looks for cameras loads the bus; nobody may have done so yet
    const Control control = FindControl();
    if (!control) throw std::runtime_error("virtual cameras are not installed");
    std::string answer;
    if (!control(Dump(request).c_str(), answer)) throw std::runtime_error(answer);
    return Json::parse(answer);
}

} // namespace viewer
