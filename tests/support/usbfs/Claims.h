#pragma once
// Who holds which interface of a device.

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace usbfs {

class OpenFile;

/// Interfaces are held by an open file or by a kernel driver. Answers are 0 or an errno. Bound to a thread; its owner
/// locks.
class Claims {
public:
    Claims() = default;
    /// Other processes that share the folder must not hold what this one holds: a file of this name, with the
    /// interface's number behind it, is locked for each claim. Without a name there are no other processes.
    explicit Claims(std::string lockName) : m_LockName(std::move(lockName)) {}

    /// EBUSY when another file or a kernel driver holds it.
    int Claim(unsigned int interface, const OpenFile& file);
    /// The same after any kernel driver has been detached.
    int DetachAndClaim(unsigned int interface, const OpenFile& file);
    /// EINVAL when the file does not hold it.
    int Release(unsigned int interface, const OpenFile& file);
    void ReleaseAll(const OpenFile& file);
    bool IsHeldBy(unsigned int interface, const OpenFile& file) const;
    /// By a file or a driver.
    bool IsAnyHeld() const;

    void BindDriver(unsigned int interface, const std::string& driver) { m_Drivers[interface] = {driver, true}; }
    /// ENODATA when none is bound.
    int DetachDriver(unsigned int interface);
    /// EBUSY when the interface is held, ENODATA when the interface never had a driver.
    int AttachDriver(unsigned int interface);
    /// "usbfs", a driver's name, or empty.
    std::string DriverOf(unsigned int interface) const;

private:
    struct Driver {
        std::string name;
        bool bound = false;
    };

    struct Holder {
        const OpenFile* file = nullptr; ///< borrowed
        std::shared_ptr<std::FILE> lock;
    };

    bool Lock(unsigned int interface, std::shared_ptr<std::FILE>& lock) const;

    std::string m_LockName;
    std::map<unsigned int, Holder> m_Holders;
    std::map<unsigned int, Driver> m_Drivers;
};

} // namespace usbfs
