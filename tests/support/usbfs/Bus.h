#pragma once
// The emulated USB bus of this process: what tests plug devices into, and what stands below the real libusb.
//
// Linked into a program as an object library (tavix::usbfs) it takes the place of usbfs, sysfs and udev for everything
// in that process, so that the unmodified libusb finds the devices plugged in here and no others.

#include "support/usbfs/DeviceModel.h"
#include "support/usbfs/OpenFile.h"
#include "support/usbfs/Port.h"
#include "support/usbfs/system/CallFaults.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace usbfs {

/// One per process, never destroyed, because libusb's threads may outlive main(). Thread-safe.
class Bus {
public:
    static Bus& Instance();

    /// Plugs a device into the lowest free port and returns its name ("2-1"), which is also the id that the libusb
    /// backend gives it. Empty when the device does not enumerate or all 15 ports are taken.
    std::string Plug(std::shared_ptr<DeviceModel> device, PortSettings settings = {});
    /// Unplugs the device and takes its port away.
    void Remove(const std::string& name);
    /// Unplugs the device; Replug brings it back under a new address. Both return when the bus has noticed.
    void Unplug(const std::string& name);
    void Replug(const std::string& name);
    /// The next `times` opens of the device fail with the errno `error`.
    void RefuseOpens(const std::string& name, int error, unsigned int times);
    /// As if the device had been plugged in a minute earlier.
    void MakeNodeOld(const std::string& name);
    /// What usbfs_memory_mb limits; without limit at first.
    TransferMemory& Memory() { return m_Memory; }
    /// Counts what libusb asks of the system, and lets it fail.
    CallFaults& Faults() { return m_Faults; }
    /// How many device nodes are open now.
    std::size_t OpenFileCount() const;

    /// A function that plugs in what the environment asks for, when libusb looks for the first time.
    void SetStarter(void (*starter)());

    // For the interposed functions:
    void Start();
    std::vector<std::shared_ptr<Port>> Ports() const;
    /// Null when there is none, or no device in it.
    std::shared_ptr<Port> FindPort(const std::string& name) const;
    /// When the node of the device with this address was made; 0 when there is none.
    std::time_t NodeTime(unsigned int bus, unsigned int address) const;
    /// Opens the device with this address. Returns a file descriptor, or a negative errno.
    int OpenNode(unsigned int bus, unsigned int address);

    struct Opened {
        std::shared_ptr<Port> port;
        std::shared_ptr<OpenFile> file;
    };
    /// What a file descriptor stands for; empty when it is none of ours.
    Opened FindOpened(int file) const;
    /// The same, and forgets it: it is about to be closed.
    Opened TakeOpened(int file);

private:
    Bus() = default;

    /// Other files must pass without taking the lock: a sanitizer closes some while it stops the thread that has it.
    bool MayBeOurs(int file) const;
    void Mark(int file, bool isOurs);

    static constexpr std::size_t kWatchedFiles = 4096;

    TransferMemory m_Memory;
    CallFaults m_Faults;
    std::atomic<std::size_t> m_OpenCount{0};
    std::array<std::atomic<bool>, kWatchedFiles> m_IsOurs{};

    mutable std::mutex m_Lock;
    // guarded by m_Lock
    std::map<unsigned int, std::shared_ptr<Port>> m_Ports;
    std::map<int, Opened> m_Opened;
    void (*m_Starter)() = nullptr;
};

/// A device in the bus as long as this lives. Bound to a thread.
class Plugged {
public:
    explicit Plugged(std::shared_ptr<DeviceModel> device, PortSettings settings = {})
        : m_Name(Bus::Instance().Plug(std::move(device), std::move(settings))) {}
    ~Plugged() { Bus::Instance().Remove(m_Name); }
    Plugged(const Plugged&) = delete;
    Plugged& operator=(const Plugged&) = delete;

    const std::string& Name() const { return m_Name; }

private:
    const std::string m_Name;
};

} // namespace usbfs
