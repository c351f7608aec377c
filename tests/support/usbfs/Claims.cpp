// Who holds which interface of a device.
#include "support/usbfs/Claims.h"

#include <cerrno>
#include <iterator>

namespace usbfs {

int Claims::Claim(unsigned int interface, const OpenFile& file) {
    if (IsHeldBy(interface, file)) return 0;
    if (!DriverOf(interface).empty()) return EBUSY;
    m_Holders[interface] = &file;
    return 0;
}

int Claims::DetachAndClaim(unsigned int interface, const OpenFile& file) {
    DetachDriver(interface);
    return Claim(interface, file);
}

int Claims::Release(unsigned int interface, const OpenFile& file) {
    if (!IsHeldBy(interface, file)) return EINVAL;
    m_Holders.erase(interface);
    return 0;
}

void Claims::ReleaseAll(const OpenFile& file) {
    for (auto item = m_Holders.begin(); item != m_Holders.end();)
        item = item->second == &file ? m_Holders.erase(item) : std::next(item);
}

bool Claims::IsHeldBy(unsigned int interface, const OpenFile& file) const {
    const auto holder = m_Holders.find(interface);
    return holder != m_Holders.end() && holder->second == &file;
}

int Claims::DetachDriver(unsigned int interface) {
    const auto driver = m_Drivers.find(interface);
    if (driver == m_Drivers.end() || !driver->second.bound) return ENODATA;
    driver->second.bound = false;
    return 0;
}

int Claims::AttachDriver(unsigned int interface) {
    if (m_Holders.count(interface) != 0) return EBUSY;
    const auto driver = m_Drivers.find(interface);
    if (driver == m_Drivers.end()) return ENODATA;
    driver->second.bound = true;
    return 0;
}

std::string Claims::DriverOf(unsigned int interface) const {
    if (m_Holders.count(interface) != 0) return "usbfs";
    const auto driver = m_Drivers.find(interface);
    return driver != m_Drivers.end() && driver->second.bound ? driver->second.name : std::string();
}

} // namespace usbfs
