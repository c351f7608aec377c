#pragma once
// How a camera appears among the devices that USB/IP offers.

#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/usbip/Message.h"

namespace virtualcam::usbip {

inline constexpr std::uint32_t kLinuxHighSpeed = 3;
inline constexpr std::uint32_t kLinuxSuperSpeed = 5;

/// "1-1" for the first camera, "1-2" for the next.
std::string BusIdOf(const RemoteCamera& camera);
/// Number that stands for the camera in the headers of its transfers.
std::uint32_t DeviceNumberOf(const RemoteCamera& camera);
/// Link speed as Linux counts it.
std::uint32_t SpeedOf(const RemoteCamera& camera);
ExportedDevice DescribeCamera(RemoteCamera& camera);

} // namespace virtualcam::usbip
