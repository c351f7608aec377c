#include "StreamBus.h"

#include "BenchCamera.h"

#include "support/usbfs/Ioctl.h"
#include "support/usbfs/VirtualCamera.h"

#include <cstdlib>

namespace bench {

StreamBus::StreamBus(BusKind kind, unsigned int cameras) {
    UseVirtualCameras(cameras);
    if (kind == BusKind::InProcess) return;
    m_BelowLibusb = std::make_unique<usbfs::VirtualCameras>(std::string(std::getenv("TAVIX_VIRTUAL_CAMERAS")));
    unsetenv("TAVIX_VIRTUAL_CAMERAS");
}

StreamBus::~StreamBus() = default;

const char* StreamBus::Name(BusKind kind) {
    return kind == BusKind::InProcess ? "Bus in this process" : "Emulated usbfs below the real libusb";
}

StreamBus::Ioctls StreamBus::Count() {
    const usbfs::IoctlCounts counts = usbfs::CountIoctls();
    return {counts.submits, counts.reaps, counts.vainReaps, counts.others};
}

} // namespace bench
