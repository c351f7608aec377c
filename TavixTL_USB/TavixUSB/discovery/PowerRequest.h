#pragma once
// Asks a camera for more power before it is opened for work.

#include "tavix/Info.h"
#include "vexlo/DeviceDiscoveryInfo.h"

namespace vexlo {
class CVxDevice;
}

namespace Tavix {

/// True when the info carries the hidden property "_sap", the power asked for.
bool HasPowerRequest(const CDeviceInfo& info);

/// Sends the request of "_sap" to the camera; opens the device for that time unless it is open. 0 or the status of what
/// went wrong first. Logs that it does so.
[[nodiscard]] unsigned int RequestPower(vexlo::CVxDevice& device, const CDeviceInfo& info,
                                        const vexlo::DeviceDiscoveryInfo& record);

} // namespace Tavix
