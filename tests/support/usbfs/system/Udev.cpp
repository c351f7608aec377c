// The part of libudev that libusb uses. The library's own functions of these names are never reached, because those of
// the program, or of a preloaded library, are found first.
#include "support/usbfs/system/Udev.h"

#include "support/Shortage.h"
#include "support/usbfs/Bus.h"
#include "support/usbfs/Port.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

struct udev {};

struct udev_device {
    std::string action; ///< empty when not from a monitor
    std::string name;
    std::string node;
};

struct udev_monitor {
    int file = -1; ///< counts the queued events; owned
    std::deque<udev_device> events;
};

struct udev_list_entry {
    std::string name;
    udev_list_entry* next = nullptr;
};

struct udev_enumerate {
    std::deque<udev_list_entry> entries; ///< stays in place while it grows
};

namespace usbfs {
namespace {

const char kDevicesPath[] = "/sys/bus/usb/devices/";

/// The monitors that exist. Never destroyed: libusb's thread may still run while the program exits. Thread-safe.
struct Monitors {
    static Monitors& Instance() {
        static auto& monitors = *new Monitors;
        return monitors;
    }

    std::mutex lock;
    std::vector<udev_monitor*> all; ///< guarded by lock; borrowed
};

} // namespace

void PostUdevEvent(const std::string& action, const std::string& name, const std::string& node) {
    Monitors& monitors = Monitors::Instance();
    const std::lock_guard<std::mutex> lock(monitors.lock);
    for (udev_monitor* monitor : monitors.all) {
        monitor->events.push_back({action, name, node});
        ::eventfd_write(monitor->file, 1);
    }
}

/// Without /sys the node's name is all that libusb can find the device by.
void AnnounceNode(const std::string& name) {
    if (const auto port = Bus::Instance().FindPort(name)) PostUdevEvent("add", name, port->Node());
}

} // namespace usbfs

using usbfs::Bus;
using usbfs::kDevicesPath;
using usbfs::Monitors;

extern "C" {

udev* udev_new() {
    const shortage::AmpleMemory ample;
    Bus::Instance().Start();
    return new udev;
}

udev* udev_unref(udev* self) {
    delete self;
    return nullptr;
}

udev_monitor* udev_monitor_new_from_netlink(udev*, const char*) {
    const shortage::AmpleMemory ample;
    auto* monitor = new udev_monitor;
    monitor->file = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    return monitor;
}

int udev_monitor_filter_add_match_subsystem_devtype(udev_monitor*, const char*, const char*) {
    return 0;
}

int udev_monitor_enable_receiving(udev_monitor* self) {
    const shortage::AmpleMemory ample;
    Monitors& monitors = Monitors::Instance();
    const std::lock_guard<std::mutex> lock(monitors.lock);
    monitors.all.push_back(self);
    return 0;
}

int udev_monitor_get_fd(udev_monitor* self) {
    return self->file;
}

udev_device* udev_monitor_receive_device(udev_monitor* self) {
    const shortage::AmpleMemory ample;
    const std::lock_guard<std::mutex> lock(Monitors::Instance().lock);
    if (self->events.empty()) return nullptr;
    eventfd_t one = 0;
    ::eventfd_read(self->file, &one);
    auto* device = new udev_device(self->events.front());
    self->events.pop_front();
    return device;
}

udev_monitor* udev_monitor_unref(udev_monitor* self) {
    {
        Monitors& monitors = Monitors::Instance();
        const std::lock_guard<std::mutex> lock(monitors.lock);
        monitors.all.erase(std::remove(monitors.all.begin(), monitors.all.end(), self), monitors.all.end());
    }
    ::close(self->file);
    delete self;
    return nullptr;
}

udev_enumerate* udev_enumerate_new(udev*) {
    const shortage::AmpleMemory ample;
    return new udev_enumerate;
}

udev_enumerate* udev_enumerate_unref(udev_enumerate* self) {
    delete self;
    return nullptr;
}

int udev_enumerate_add_match_subsystem(udev_enumerate*, const char*) {
    return 0;
}

int udev_enumerate_add_match_property(udev_enumerate*, const char*, const char*) {
    return 0;
}

int udev_enumerate_scan_devices(udev_enumerate* self) {
    const shortage::AmpleMemory ample;
    for (const auto& port : Bus::Instance().Ports()) {
        if (!port->IsPresent()) continue;
        self->entries.push_back({kDevicesPath + port->Name(), nullptr});
        const std::size_t count = self->entries.size();
        if (count > 1) self->entries[count - 2].next = &self->entries.back();
    }
    return 0;
}

udev_list_entry* udev_enumerate_get_list_entry(udev_enumerate* self) {
    return self->entries.empty() ? nullptr : &self->entries.front();
}

udev_list_entry* udev_list_entry_get_next(udev_list_entry* self) {
    return self->next;
}

const char* udev_list_entry_get_name(udev_list_entry* self) {
    return self->name.c_str();
}

udev_device* udev_device_new_from_syspath(udev*, const char* path) {
    const shortage::AmpleMemory ample;
    const std::string text = path;
    const auto port = Bus::Instance().FindPort(text.substr(text.rfind('/') + 1));
    return port != nullptr ? new udev_device{"", port->Name(), port->Node()} : nullptr;
}

udev_device* udev_device_unref(udev_device* self) {
    delete self;
    return nullptr;
}

// libusb asks without looking whether a device that it has just listed was still there. libudev then answers null.
const char* udev_device_get_action(udev_device* self) {
    return self == nullptr || self->action.empty() ? nullptr : self->action.c_str();
}

const char* udev_device_get_devnode(udev_device* self) {
    return self != nullptr ? self->node.c_str() : nullptr;
}

const char* udev_device_get_sysname(udev_device* self) {
    return self != nullptr ? self->name.c_str() : nullptr;
}

} // extern "C"
