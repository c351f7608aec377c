// Makes a library to preload: LD_PRELOAD=libusbfscameras.so TAVIX_USBFS_CAMERAS=2 program. The program finds the
// virtual cameras through its own unmodified libusb, and nothing else on the bus. Each process has cameras of its own;
// with TAVIX_USBFS_CLAIMS=folder they cannot be claimed by two processes at once.
#include "support/usbfs/VirtualCamera.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

/// Never taken away, because libusb's threads may outlive main(); kept where a leak checker sees it.
__attribute__((used)) const usbfs::VirtualCameras* cameras = nullptr;

void PlugFromEnvironment() {
    const char* settings = std::getenv("TAVIX_USBFS_CAMERAS");
    if (settings == nullptr) return;
    try {
        cameras = new usbfs::VirtualCameras(std::string(settings));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "TAVIX_USBFS_CAMERAS=%s: %s\n", settings, error.what());
        std::_Exit(EXIT_FAILURE);
    }
}

/// Only notes what to do: most programs that inherit the preloading never look at a bus.
__attribute__((constructor)) void Prepare() {
    usbfs::Bus::Instance().SetStarter(&PlugFromEnvironment);
}

} // namespace
