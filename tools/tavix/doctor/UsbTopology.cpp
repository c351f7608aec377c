#include "UsbTopology.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

namespace tool {
namespace {

const std::string kDevices = "/sys/bus/usb/devices/";

std::string Attribute(const SystemFiles& files, const std::string& device, const char* name) {
    return files.Text(kDevices + device + "/" + name).value_or("");
}

std::int64_t Number(const SystemFiles& files, const std::string& device, const char* name) {
    return files.Number(kDevices + device + "/" + name).value_or(0);
}

/// Names of the interfaces of a device that are USB3 Vision's.
std::vector<std::string> VisionInterfaces(const SystemFiles& files, const std::string& device) {
    std::vector<std::string> interfaces;
    for (const std::string& name : files.List(kDevices + device)) {
        if (name.rfind(device + ":", 0) != 0) continue;
        const std::string folder = device + "/" + name;
        if (Attribute(files, folder, "bInterfaceClass") == "ef" &&
            Attribute(files, folder, "bInterfaceSubClass") == "05")
            interfaces.push_back(name);
    }
    return interfaces;
}

/// The best speed that the Device Info descriptor among a device's descriptors names, in Mbit/s.
std::int64_t BestSpeed(const std::string& descriptors) {
    constexpr unsigned char kDeviceInfoType = 0x24, kDeviceInfoSubtype = 0x01;
    constexpr std::size_t kSpeedOffset = 19;
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(descriptors[at]); };
    for (std::size_t at = 0; at + 2 < descriptors.size() && byte(at) >= 2; at += byte(at)) {
        const std::size_t length = std::min<std::size_t>(byte(at), descriptors.size() - at);
        if (byte(at + 1) != kDeviceInfoType || length <= kSpeedOffset || byte(at + 2) != kDeviceInfoSubtype) continue;
        const unsigned char speeds = byte(at + kSpeedOffset);
        if (speeds & 0x10) return 10000;
        if (speeds & 0x08) return 5000;
        return speeds & 0x04 ? 480 : 0;
    }
    return 0;
}

std::string NodeOf(const SystemFiles& files, const std::string& device) {
    char node[64];
    std::snprintf(node, sizeof node, "/dev/bus/usb/%03lld/%03lld",
                  static_cast<long long>(Number(files, device, "busnum")),
                  static_cast<long long>(Number(files, device, "devnum")));
    return node;
}

/// Hubs between the controller and a port: "2-1.4.3" hangs on "2-1.4", which hangs on "2-1".
std::vector<UsbHub> HubsAbove(const SystemFiles& files, const std::string& port) {
    std::vector<UsbHub> hubs;
    for (auto dot = port.find('.'); dot != std::string::npos; dot = port.find('.', dot + 1)) {
        UsbHub hub;
        hub.port = port.substr(0, dot);
        hub.name = Attribute(files, hub.port, "product");
        if (hub.name.empty()) hub.name = "hub";
        hub.speed = Number(files, hub.port, "speed");
        const auto attributes = files.Number(kDevices + hub.port + "/bmAttributes", 16);
        hub.isBusPowered = attributes && (*attributes & 0x40) == 0;
        hubs.push_back(std::move(hub));
    }
    return hubs;
}

std::string DeviceNameOf(const SystemFiles& files, const std::string& device) {
    const std::string product = Attribute(files, device, "product"), serial = Attribute(files, device, "serial");
    if (product.empty()) return "camera at " + device;
    return serial.empty() ? product + " at " + device : product + " (" + serial + ")";
}

UsbCamera Describe(const SystemFiles& files, const std::string& device, const std::vector<std::string>& interfaces) {
    UsbCamera camera;
    camera.port = device;
    camera.name = DeviceNameOf(files, device);
    camera.node = NodeOf(files, device);
    camera.speed = Number(files, device, "speed");
    camera.bestSpeed = BestSpeed(files.Text(kDevices + device + "/descriptors").value_or(""));
    const std::string rootHub = "usb" + device.substr(0, device.find('-'));
    camera.controller = std::filesystem::path(files.Resolved(kDevices + rootHub)).parent_path().filename().string();
    camera.busSpeed = Number(files, rootHub, "speed");
    camera.hubs = HubsAbove(files, device);
    camera.mayAutosuspend = Attribute(files, device, "power/control") == "auto";
    for (const std::string& name : interfaces) {
        const std::string driver = files.Resolved(kDevices + device + "/" + name + "/driver");
        if (driver.empty() || !camera.driver.empty()) continue;
        camera.driver = std::filesystem::path(driver).filename().string();
        camera.driverInterface = name;
    }
    return camera;
}

/// What is found of one must not pass for what is found of another.
std::vector<UsbCamera> NamedApart(std::vector<UsbCamera> cameras) {
    std::map<std::string, int> counts;
    for (const UsbCamera& camera : cameras)
        ++counts[camera.name];
    for (UsbCamera& camera : cameras) {
        if (counts[camera.name] > 1) camera.name += " at " + camera.port;
    }
    return cameras;
}

} // namespace

std::vector<UsbCamera> FindUsbCameras(const SystemFiles& files) {
    std::vector<UsbCamera> cameras;
    for (const std::string& name : files.List(kDevices)) {
        if (name.find('-') == std::string::npos || name.find(':') != std::string::npos) continue;
        const auto interfaces = VisionInterfaces(files, name);
        if (!interfaces.empty()) cameras.push_back(Describe(files, name, interfaces));
    }
    return NamedApart(std::move(cameras));
}

} // namespace tool
