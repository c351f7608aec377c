// How long a device has had its node under /dev.
#include "usb/libusb/NodeAge.h"

#include "usb/libusb/SmallFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace usb {
namespace {

constexpr double kNewSeconds = 2.0;

/// A number of the device in sysfs; 0 when there is no such device.
unsigned int NumberOf(const std::string& id, const char* attribute) {
    const std::vector<std::uint8_t> text = ReadSmallFile("/sys/bus/usb/devices/" + id + "/" + attribute);
    return static_cast<unsigned int>(std::strtoul(std::string(text.begin(), text.end()).c_str(), nullptr, 10));
}

double SecondsSince(const timespec& time) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec - time.tv_sec) + static_cast<double>(now.tv_nsec - time.tv_nsec) * 1e-9;
}

} // namespace

bool IsNodeNew(const std::string& id) {
    const unsigned int bus = NumberOf(id, "busnum"), address = NumberOf(id, "devnum");
    if (bus == 0 || address == 0) return false;
    char path[64];
    std::snprintf(path, sizeof path, "/dev/bus/usb/%03u/%03u", bus, address);
    struct stat status {};
    if (::stat(path, &status) != 0) return errno == ENOENT;
    // Giving the node to a user is a change of it as well. A clock that was set back makes no node new.
    const double age = SecondsSince(status.st_ctim);
    return age >= 0 && age < kNewSeconds;
}

} // namespace usb
