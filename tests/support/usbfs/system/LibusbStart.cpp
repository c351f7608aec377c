// libusb 1.0.26 forgets a device that leaves between the first look of libusb_init() at the bus and the end of that
// function, and never frees it. Real devices leave too seldom for that to matter; those here leave all the time, and a
// leak checker would tell of it.
#include "support/usbfs/system/LibusbStart.h"

#include <dlfcn.h>

struct libusb_context;

namespace usbfs {
namespace {

using Start = int (*)(libusb_context**);

/// Behind ours, or loaded with a plug-in.
Start RealStart() {
    void* start = ::dlsym(RTLD_NEXT, "libusb_init");
    if (start == nullptr) {
        if (void* const libusb = ::dlopen("libusb-1.0.so.0", RTLD_NOLOAD | RTLD_LAZY))
            start = ::dlsym(libusb, "libusb_init");
    }
    return reinterpret_cast<Start>(start);
}

} // namespace

/// Never destroyed: libusb's threads may outlive main().
std::recursive_mutex& LeavingLock() {
    static auto& lock = *new std::recursive_mutex;
    return lock;
}

} // namespace usbfs

extern "C" int libusb_init(libusb_context** context) {
    static const usbfs::Start start = usbfs::RealStart();
    const std::lock_guard<std::recursive_mutex> lock(usbfs::LeavingLock());
    return start(context);
}
