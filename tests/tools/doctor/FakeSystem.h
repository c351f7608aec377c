#pragma once
// A tree of files as Linux shows them for a machine with cameras.

#include "tests/tools/support/TestFolder.h"

#include <filesystem>
#include <string>

namespace tooltest {

/// A camera of the made-up machine; what is not said is as it should be.
struct FakeCamera {
    std::string port = "2-1";
    std::string product = "VC-1300";
    std::string serial = "1";
    int speed = 5000;
    int supported = 0x0C; ///< High and Super, as the Device Info descriptor has it; 0: no such descriptor
    std::string power = "on";
    std::string driver; ///< of its control interface
    bool isOpenToAll = true;
};

/// Starts as a machine that is well, with one USB 3 controller and nothing plugged in. Bound to a thread.
class FakeSystem {
public:
    FakeSystem() {
        Write("/proc/sys/kernel/osrelease", "6.1.0-13-amd64\n");
        Write("/proc/self/limits", "Limit                     Soft Limit           Hard Limit           Units     \n"
                                   "Max realtime priority     99                   99                              \n");
        Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "1000\n");
        Write("/etc/udev/rules.d/70-tavix-usb3vision.rules",
              "# cameras\nSUBSYSTEM==\"usb\", ENV{ID_USB_INTERFACES}==\"*:ef0500:*\", TAG+=\"uaccess\"\n");
        std::filesystem::create_directories(Path("/dev/bus/usb"));
        AddBus("usb1", 480, "0000:00:14.0");
        AddBus("usb2", 5000, "0000:00:14.0");
    }

    std::string Root() const { return m_Folder.Path(); }
    std::string Path(const std::string& path) const { return m_Folder.Path() + path; }

    void Write(const std::string& path, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(Path(path)).parent_path());
        std::ofstream(Path(path), std::ios::binary) << text;
    }
    void Remove(const std::string& path) const { std::filesystem::remove_all(Path(path)); }

    void AddBus(const std::string& name, int speed, const std::string& controller) const {
        const std::string device = "/sys/devices/pci0000:00/" + controller + "/" + name;
        Write(device + "/speed", std::to_string(speed) + "\n");
        Link(device, "/sys/bus/usb/devices/" + name);
    }
    void AddHub(const std::string& port, int speed, const std::string& attributes = "e0") const {
        const std::string device = "/sys/bus/usb/devices/" + port;
        Write(device + "/speed", std::to_string(speed) + "\n");
        Write(device + "/product", "Four Ports\n");
        Write(device + "/bmAttributes", attributes + "\n");
        Write(device + "/" + port + ":1.0/bInterfaceClass", "09\n");
    }
    void Add(const FakeCamera& camera) const {
        const std::string device = "/sys/bus/usb/devices/" + camera.port;
        const std::string control = device + "/" + camera.port + ":1.0";
        static constexpr int kAddress = 9;
        Write(device + "/busnum", camera.port.substr(0, 1) + "\n");
        Write(device + "/devnum", std::to_string(kAddress) + "\n");
        if (!camera.product.empty()) Write(device + "/product", camera.product + "\n");
        if (!camera.serial.empty()) Write(device + "/serial", camera.serial + "\n");
        Write(device + "/speed", std::to_string(camera.speed) + "\n");
        Write(device + "/power/control", camera.power + "\n");
        Write(device + "/descriptors", Descriptors(camera.supported));
        Write(control + "/bInterfaceClass", "ef\n");
        Write(control + "/bInterfaceSubClass", "05\n");
        Write(control + "/bInterfaceProtocol", "00\n");
        if (!camera.driver.empty()) Link("/sys/bus/usb/drivers/" + camera.driver, control + "/driver");
        const std::string node = "/dev/bus/usb/00" + camera.port.substr(0, 1) + "/009";
        Write(node, "");
        using std::filesystem::perms;
        std::filesystem::permissions(Path(node), camera.isOpenToAll ? perms(0666) : perms(0664));
    }

private:
    /// A device descriptor, the control interface and its Device Info.
    static std::string Descriptors(int supported) {
        std::string bytes("\x12\x01", 2);
        bytes.resize(18, '\0');
        bytes += std::string("\x09\x04\x00\x00\x02\xEF\x05\x00\x00", 9);
        if (supported == 0) return bytes;
        std::string info("\x14\x24\x01", 3);
        info.resize(19, '\0');
        return bytes + info + static_cast<char>(supported);
    }
    void Link(const std::string& target, const std::string& link) const {
        std::filesystem::create_directories(Path(target));
        std::filesystem::create_directories(std::filesystem::path(Path(link)).parent_path());
        std::filesystem::create_directory_symlink(Path(target), Path(link));
    }

    TestFolder m_Folder;
};

} // namespace tooltest
