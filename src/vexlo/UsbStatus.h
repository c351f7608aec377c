#pragma once
// Status codes for what happens on the bus and in the camera.

#include "usb/Backend.h"
#include "vexlo/Status.h"

namespace vexlo {

VxStatus ToStatus(usb::Result result);
VxStatus ToStatus(usb::TransferStatus status);
/// VX_OK for success and warnings.
VxStatus FromDeviceStatus(std::uint16_t code);
/// The camera did not answer, or not properly: it may still boot, or hang. Not so when the system did not even pass on
/// what was asked.
bool IsSilence(VxStatus status);
/// The camera refused a command, for whatever reason.
bool IsRefusal(VxStatus status);

} // namespace vexlo
