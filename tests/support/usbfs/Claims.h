#pragma once
// Who holds which interface of a device.

#include <map>
#include <string>

namespace usbfs {

class OpenFile;

/// Interfaces are held by an open file or by a kernel driver. Answers are 0 or an errno. Bound to a thread; its owner
/// locks.
class Claims {
public:
    /// EBUSY when another file or a kernel driver holds it.
    int Claim(unsigned int interface, const OpenFile& file);
    /// The same after any kernel driver has been detached.
    int DetachAndClaim(unsigned int interface, const OpenFile& file);
    /// EINVAL when the file does not hold it.
    int Release(unsigned int interface, const OpenFile& file);
    void ReleaseAll(const OpenFile& file);
    bool IsHeldBy(unsigned int interface, const OpenFile& file) const;

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

    std::map<unsigned int, const OpenFile*> m_Holders; ///< borrowed
    std::map<unsigned int, Driver> m_Drivers;
};

} // namespace usbfs
