#include "camera/Failure.h"
#include "core/Printable.h"

#include <tavix/TlFactory.h>
#include <tavix/camera/CameraInfo.h>

#include <cstdlib>

namespace Tavix {
namespace {

std::string Property(const CDeviceInfo& info, const char* name) {
    gcstring value;
    return info.GetPropertyValue(name, value) ? detail::Text(value) : std::string();
}

/// A device states its version as its link is: one for USB 3 states 2.1 behind a slower port.
std::string LinkSpeed(const CDeviceInfo& info) {
    const unsigned long version = std::strtoul(Property(info, "UsbPortVersionBcd").c_str(), nullptr, 16);
    if (version >= 0x0300) return "Super";
    return version >= 0x0200 ? "High" : "";
}

CameraInfo MakeInfo(const CDeviceInfo& device, std::size_t number) {
    CameraInfo info;
    info.number = number;
    info.vendor = Property(device, "VendorName");
    info.model = Property(device, "ModelName");
    info.serial = Property(device, "SerialNumber");
    info.guid = Property(device, "DeviceGUID");
    info.userName = Property(device, "UserDefinedName");
    info.friendlyName = Property(device, "FriendlyName");
    info.path = Property(device, "FullName");
    info.speed = LinkSpeed(device);
    info.device = device;
    return info;
}

} // namespace

bool CameraInfo::IsCalled(const std::string& name) const {
    if (name.empty()) return false;
    for (const std::string* own : {&serial, &guid, &userName, &friendlyName, &model, &path}) {
        if (*own == name) return true;
    }
    return name == std::to_string(number);
}

Accessibility CameraInfo::Access() const {
    EDeviceAccessiblityInfo access = Accessibility_Unknown;
    try {
        CTlFactory::GetInstance().IsDeviceAccessible(device, DefaultAccessMode(), &access);
    } catch (const std::exception&) {
        return Accessibility::Unknown;
    }
    switch (access) {
    case Accessibility_Ok:
        return Accessibility::Free;
    case Accessibility_Opened:
    case Accessibility_OpenedExclusively:
        return Accessibility::InUse;
    case Accessibility_NotReachable:
        return Accessibility::NotReachable;
    default:
        return Accessibility::Unknown;
    }
}

void detail::ThrowNoCamera() {
    if (const char* settings = std::getenv("TAVIX_VIRTUAL_CAMERAS"); settings && *settings)
        throw NotFound("no camera found, and no virtual one either; `tavix list` tells what is wrong with "
                       "TAVIX_VIRTUAL_CAMERAS");
    throw NotFound("no camera found; plug one in, ask `tavix doctor` where one is, or try a virtual one with "
                   "TAVIX_VIRTUAL_CAMERAS=1");
}

std::vector<CameraInfo> Cameras() {
    DeviceInfoList devices;
    try {
        CTlFactory::GetInstance().EnumerateDevices(devices);
    } catch (const GenICam::GenericException&) {
        detail::RethrowAsError("cannot look for cameras: ");
    }
    std::vector<CameraInfo> cameras;
    for (const CDeviceInfo& device : devices)
        cameras.push_back(MakeInfo(device, cameras.size()));
    return cameras;
}

CameraInfo FindCamera(const std::string& name) {
    const std::vector<CameraInfo> cameras = Cameras();
    if (cameras.empty()) detail::ThrowNoCamera();
    if (name.empty()) return cameras.front();
    std::vector<std::string> others;
    const CameraInfo* found = nullptr;
    std::size_t fits = 0;
    for (const CameraInfo& camera : cameras) {
        if (name == std::to_string(camera.number)) return camera; // even if it is the serial number of another
        others.push_back(camera.friendlyName);
        if (!camera.IsCalled(name)) continue;
        found = &camera;
        ++fits;
    }
    if (fits == 1) return *found;
    if (fits > 1)
        throw NotFound("'" + Printable(name) + "' fits " + std::to_string(fits) + " cameras; use the number or the " +
                       (found->guid == name ? "path" : "GUID"));
    std::string text = "no camera is called '" + Printable(name) + "'; there are ";
    for (std::size_t i = 0; i < others.size(); ++i)
        text += (i > 0 ? ", " : "") + others[i];
    throw NotFound(text, {}, others);
}

} // namespace Tavix
