// The loadable form of the virtual bus.

#include <cstdio>
#include <memory>

#include "virtualcam/Backend.h"

extern "C" __attribute__((visibility("default"))) usb::Backend* UsbCreateBackend(const char* settings) {
    std::string error = "no settings";
    std::unique_ptr<virtualcam::Backend> backend;
    if (settings) backend = virtualcam::CreateBackend(settings, error);
    if (!backend) std::fprintf(stderr, "virtual cameras: %s\n", error.c_str());
    return backend.release();
}
