#include "viewer/room/VirtualCameras.h"

#include "viewer/Viewer.h"

#include <tavix/camera/CameraInfo.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace viewer {
namespace {

using Control = bool (*)(const char* request, std::string& answer);

/// Beside the camera class, as all libraries are. By its name alone it would be found only by a program that has this
/// folder in its own path.
std::string LibraryPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&Tavix::Cameras), &info) == 0 || !info.dli_fname) return {};
    const std::string camera = info.dli_fname;
    return camera.substr(0, camera.rfind('/') + 1) + "libtavixvirtualcam.so";
}

/// The library is loaded already, where the transport layer found it; it is never unloaded.
Control FindControl() {
    void* const library = dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
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
