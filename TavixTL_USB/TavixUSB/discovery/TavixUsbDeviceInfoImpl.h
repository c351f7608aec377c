#pragma once
// The device info that discovery makes of one camera.

#include "tavix/usb/VandrelUsbDeviceInfo.h"

namespace vexlo {
struct DeviceDiscoveryInfo;
}

namespace Tavix {

/// Counts as produced by the transport layer, not by the user. Re-entrant.
class TavixUsbDeviceInfoImpl : public CVandrelUsbDeviceInfo {
public:
    TavixUsbDeviceInfoImpl(const CTlInfo& tlInfo, const vexlo::DeviceDiscoveryInfo& record);
};

} // namespace Tavix
