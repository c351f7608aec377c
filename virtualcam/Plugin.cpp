// The loadable form of the virtual bus.

#include <memory>

#include "virtualcam/Backend.h"

extern "C" __attribute__((visibility("default"))) usb::Backend* UsbCreateBackend(const char* settings,
                                                                                 std::string& reason) {
    reason = "there are none";
    return settings ? virtualcam::CreateBackend(settings, reason).release() : nullptr;
}
