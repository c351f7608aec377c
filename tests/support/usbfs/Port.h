#pragma once
// A port of the emulated bus and the device in it.

#include "support/usbfs/Claims.h"
#include "support/usbfs/Configuration.h"
#include "support/usbfs/DeviceModel.h"
#include "support/usbfs/OpenFile.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

struct usbdevfs_urb;

namespace usbfs {

struct PortSettings {
    usb::Speed speed = usb::Speed::Super;
    std::map<unsigned int, std::string> drivers; ///< kernel drivers bound at first, by interface
};

/// Serves the transfers of its device on a thread of its own, in order on each endpoint. Operations answer with 0 or an
/// errno. Thread-safe.
class Port final : public DevicePort {
public:
    Port(unsigned int bus, unsigned int number, PortSettings settings, std::shared_ptr<DeviceModel> model);
    ~Port();
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    /// Starts the thread and plugs the device in, if it wants to; false when it does not enumerate.
    bool Start();
    /// Unplugs for ever and ends the thread. Open files stay, without a device.
    void Stop();

    // of DevicePort: done soon, on the port's thread
    void Wake() override;
    void Unplug() override;
    void Plug() override;
    // the same at once
    bool PlugNow();
    void UnplugNow();

    const std::string& Name() const { return m_Name; }
    unsigned int BusNumber() const { return m_Bus; }
    bool IsPresent() const;
    /// Address of the device, the last one while it is absent.
    unsigned int Address() const;
    std::string Node() const;
    /// Content of a file in the device's sysfs folder; false when there is no such file.
    bool ReadAttribute(const std::string& name, std::string& text) const;
    /// The next `times` opens fail with `error`.
    void RefuseOpens(int error, unsigned int times);
    /// When the device's node was made; see Bus::MakeNodeOld.
    std::time_t NodeTime() const;
    void MakeNodeOld();
    /// "usbfs" when a program holds the interface, else the kernel driver's name or nothing.
    std::string BoundDriver(unsigned int interface) const;

    int Open(TransferMemory& memory, std::shared_ptr<OpenFile>& file);
    void Close(OpenFile& file);
    int Claim(OpenFile& file, unsigned int interface, bool detachDriver);
    int Release(OpenFile& file, unsigned int interface);
    int DriverOf(OpenFile& file, unsigned int interface, std::string& driver);
    int DetachDriver(OpenFile& file, unsigned int interface);
    int AttachDriver(OpenFile& file, unsigned int interface);
    int SelectConfiguration(OpenFile& file, int value);
    int SelectSetting(OpenFile& file, unsigned int interface, unsigned int setting);
    int ClearHalt(OpenFile& file, std::uint8_t endpoint);
    int Reset(OpenFile& file);
    int Submit(OpenFile& file, usbdevfs_urb* record);
    int Discard(OpenFile& file, const usbdevfs_urb* record);
    int Reap(OpenFile& file, usbdevfs_urb*& record);
    /// 0, or ENODEV.
    int CheckConnected(const OpenFile& file) const;

private:
    enum class Wish { Unplug, Plug };

    using Lock = std::unique_lock<std::mutex>;
    /// What waits in this pass, and all behind it: an endpoint of an open file.
    using Waiting = std::set<std::pair<const OpenFile*, unsigned int>>;
    struct Next {
        OpenFile* file = nullptr;
        std::list<Urb>::iterator urb;
    };

    void Ask(Wish wish);
    void Work();
    bool ServeAll();
    Next FindNext(const Waiting& waiting) const;
    void Serve(Lock& lock, const Next& next, Waiting& waiting);
    Answer AskModel(const Urb& urb);
    Lock LockAlone() const;
    void WaitUntilAlone(Lock& lock) const;
    int CheckTarget(OpenFile& file, const usbdevfs_urb& record);
    int CheckEndpoint(OpenFile& file, std::uint8_t endpoint);
    bool Request(std::uint8_t type, std::uint8_t request, unsigned int value, unsigned int index);

    // constant after construction
    const unsigned int m_Bus;
    const unsigned int m_Number;
    const std::string m_Name;
    const PortSettings m_Settings;
    const std::shared_ptr<DeviceModel> m_Model;

    std::thread m_Worker;

    mutable std::mutex m_Lock;
    // guarded by m_Lock
    mutable std::condition_variable m_Turn;
    mutable unsigned int m_WaitingForTurn = 0; ///< how many want to be alone with the device and its transfers
    const usbdevfs_urb* m_Served = nullptr;    ///< in the device's hands just now, on the port's thread, without m_Lock
    bool m_Present = false;
    unsigned int m_Generation = 0; ///< how often it has been plugged in
    std::time_t m_NodeTime = 0;
    Configuration m_Configuration;
    Claims m_Claims;
    std::list<OpenFile*> m_Files; ///< borrowed
    bool m_Gone = false;          ///< the device has answered so
    int m_RefusalError = 0;
    unsigned int m_Refusals = 0;

    std::mutex m_SignalLock; ///< nothing else is locked under it, so that a model may call from anywhere
    // guarded by m_SignalLock
    std::condition_variable m_Signalled;
    bool m_Kicked = false;
    bool m_Stopping = false;
    std::vector<Wish> m_Wishes;

    std::atomic<bool> m_Interrupted{false}; ///< there are wishes, or it is stopping: leave off serving
};

} // namespace usbfs
