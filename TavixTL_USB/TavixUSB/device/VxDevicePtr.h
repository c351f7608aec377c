#pragma once
// Owner of a device object of the USB access library.

#include "vexlo/VxDevice.h"

#include <memory>

namespace Tavix {

struct VxDeviceDestroyer {
    void operator()(vexlo::CVxDevice* pDevice) const { vexlo::CVxDevice::DestroyDevice(pDevice); }
};

using VxDevicePtr = std::unique_ptr<vexlo::CVxDevice, VxDeviceDestroyer>;

/// A camera that refuses to be opened is often just being left by somebody else or still starting, so it is asked up to
/// five times in a row. 0 or the status of the last attempt; each failed attempt but the last leaves a warning.
[[nodiscard]] unsigned int OpenWithRetry(vexlo::CVxDevice& device, const vexlo::DeviceDiscoveryInfo& record);

} // namespace Tavix
