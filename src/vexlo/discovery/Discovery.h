#pragma once
// Cameras on the buses.

#include "u3v/CameraFunction.h"
#include "vexlo/DeviceDiscoveryInfo.h"
#include "vexlo/discovery/BackendSet.h"

#include <string>
#include <vector>

namespace vexlo {

/// A camera on a bus, known from its descriptors alone.
struct FoundCamera {
    std::shared_ptr<usb::Backend> backend;
    std::string id; ///< for usb::Backend::Open
    usb::Speed speed = usb::Speed::Unknown;
    u3v::DeviceIdentity identity;
    u3v::CameraFunction function;
    bool isActive = true; ///< its configuration is the device's active one, as far as is known
    std::string path;     ///< "<bus>:<id>#<control interface>"; names the camera as long as it stays in its port
};

/// All cameras, in the order of the buses and of the devices on them. A bus that cannot be listed counts as empty, and
/// its status comes back when no bus could be listed. Thread-safe.
VxStatus FindCameras(const BackendList& backends, std::vector<FoundCamera>& cameras);

/// Fills a record; opens the camera for a moment to read its texts. Those that cannot be read stay empty, so the record
/// is good for a camera that is busy or not permitted. Thread-safe.
void Describe(const FoundCamera& camera, std::size_t index, DeviceDiscoveryInfo& info);

/// Warns of cameras that state the same GUID: only their places tell them apart.
void WarnOfEqualGuids(const std::vector<DeviceDiscoveryInfo>& infos);

/// What a user should know of the speed that a camera's link came up with; empty when all is well. `supported` is the
/// mask of the camera's Device Info.
std::string SpeedWarning(usb::Speed speed, std::uint8_t supported);

/// The camera at the record's device path, which is the key to a camera: whatever else the record says is not looked
/// for elsewhere. VX_E_NOT_FOUND when there is none, or when its GUID is known to be another than the record's.
VxStatus FindCamera(const BackendList& backends, const DeviceDiscoveryInfo& wanted, FoundCamera& camera);

} // namespace vexlo
