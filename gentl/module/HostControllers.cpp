#include "gentl/module/HostControllers.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>

#include <dirent.h>

namespace gentl {
namespace {

constexpr const char* kDevices = "/sys/bus/usb/devices/";

/// Where the controller of a bus hangs: "0000:00:14.0". Empty where the system does not tell.
std::string PlaceOfBus(const std::string& bus) {
    char resolved[PATH_MAX];
    if (!::realpath((kDevices + ("usb" + bus)).c_str(), resolved)) return {};
    const std::string path = resolved;
    const std::size_t last = path.rfind('/');
    if (last == std::string::npos || last == 0) return {};
    const std::size_t before = path.rfind('/', last - 1);
    return before == std::string::npos ? std::string() : path.substr(before + 1, last - before - 1);
}

std::string ProductOfBus(const std::string& bus) {
    std::ifstream file(kDevices + ("usb" + bus + "/product"));
    std::string line;
    std::getline(file, line);
    return line.empty() ? "USB host controller" : line.substr(0, 100);
}

HostController ControllerOfBus(const std::string& bus) {
    const std::string place = PlaceOfBus(bus);
    if (place.empty()) return {"u3v-bus-" + bus, "USB bus " + bus};
    return {"u3v-" + place, ProductOfBus(bus) + " at " + place};
}

/// The digits at the beginning.
std::string Digits(const std::string& text) {
    return text.substr(0, text.find_first_not_of("0123456789"));
}

/// The path reads "BACKEND:ID#INTERFACE", and the ID of a real device begins with its bus: "2-1.4", or "usb2".
std::string BusOf(const std::string& id) {
    return Digits(id.compare(0, 3, "usb") == 0 ? id.substr(3) : id);
}

} // namespace

std::vector<HostController> FindHostControllers() {
    std::map<std::string, HostController> byId;
    if (DIR* const folder = ::opendir(kDevices)) {
        while (const dirent* entry = ::readdir(folder)) {
            if (std::strncmp(entry->d_name, "usb", 3) != 0) continue;
            HostController controller = ControllerOfBus(Digits(entry->d_name + 3));
            byId.emplace(controller.id, controller); // its two buses, of either speed, are one controller
        }
        ::closedir(folder);
    }
    std::vector<HostController> controllers;
    for (auto& [id, controller] : byId)
        controllers.push_back(std::move(controller));
    return controllers;
}

HostController ControllerOf(const std::string& devicePath) {
    const std::size_t colon = devicePath.find(':');
    const std::string backend = devicePath.substr(0, colon);
    const std::string id = colon == std::string::npos ? std::string() : devicePath.substr(colon + 1);
    const std::string bus = BusOf(id);
    if (bus.empty()) return {"u3v-" + backend, "Cameras without a USB port: " + backend};
    return ControllerOfBus(bus);
}

} // namespace gentl
