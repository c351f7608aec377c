#pragma once
// The cameras that are attached, as the USB access library finds them.

#include "gentl/module/HostControllers.h"

#include "vexlo/Enumerator.h"
#include "vexlo/VxDevice.h"

#include <string>
#include <vector>

namespace gentl {

/// What is told of a camera without opening it. Re-entrant.
struct FoundCamera {
    vexlo::DeviceDiscoveryInfo record{};
    std::string id; ///< its GUID; its path where it has none or another one has the same
    HostController controller;

    std::string Vendor() const;
    std::string Model() const;
    std::string Serial() const;
    std::string UserName() const;
    void Rename(const std::string& userName);
    std::string Path() const;
    std::string DisplayName() const;
};

/// In the order of discovery. Throws Failure.
std::vector<FoundCamera> FindCameras();

/// DEVICE_ACCESS_STATUS of a camera that this process does not have open: asks the bus, not the camera. BUSY while
/// another thread is opening it.
int32_t AccessStatusOf(const FoundCamera& camera);
/// Of a camera that this process does not have open: it is opened for a moment, once while it stays plugged in.
/// NOT_AVAILABLE when it cannot be, as while another thread is opening it. Throws Failure.
std::string VersionOf(const FoundCamera& camera);
/// Opens it to be kept; one that somebody is just asking is tried again for a moment.
vexlo::VxStatus OpenCamera(vexlo::CVxDevice& device, const FoundCamera& camera);
/// Of open ones. They throw Failure.
std::string ReadUserName(vexlo::CVxDevice& device);
std::string ReadVersion(vexlo::CVxDevice& device);

} // namespace gentl
