#pragma once
// Opening a camera that may be away, booting, silent, or only just be coming.

#include "vexlo/Library.h"
#include "vexlo/device/DeviceSession.h"

namespace vexlo {

struct OpeningRequest {
    CVxDevice* device = nullptr;                  ///< for notifications
    ControlTiming timing;                         ///< as set by the application
    bool isProbe = false;                         ///< the camera is closed again at once
    bool isForReading = false;                    ///< nothing is written to the camera
    ControlChannel::Counters* counters = nullptr; ///< must outlive the session
};

/// The whole of it within one limit, and briefly where the camera is known to be silent. Thread-safe.
[[nodiscard]] VxStatus OpenCamera(Library& library, const DeviceDiscoveryInfo& info, const OpeningRequest& request,
                                  std::shared_ptr<DeviceSession>& session);

} // namespace vexlo
