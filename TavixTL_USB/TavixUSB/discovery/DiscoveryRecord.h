#pragma once
// Discovery records made again from device infos, to open a camera with.

#include "tavix/Info.h"
#include "vexlo/DeviceDiscoveryInfo.h"

namespace Tavix {

/// For opening a device for work. Port version and speeds claim USB 3: a device makes no speed check of its own.
vexlo::DeviceDiscoveryInfo MakeOpenRecord(const CDeviceInfo& info);

/// For the accessibility probe, which keeps the port version of the info.
vexlo::DeviceDiscoveryInfo MakeProbeRecord(const CDeviceInfo& info);

} // namespace Tavix
