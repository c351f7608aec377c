// Who holds which interface of a device.
#include "support/usbfs/Claims.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sys/file.h>

namespace usbfs {

int Claims::Claim(unsigned int interface, const OpenFile& file) {
    if (IsHeldBy(interface, file)) return 0;
    if (!DriverOf(interface).empty()) return EBUSY;
    Holder holder{&file, nullptr};
    if (!Lock(interface, holder.lock)) return EBUSY;
    m_Holders[interface] = std::move(holder);
    return 0;
}

bool Claims::Lock(unsigned int interface, std::shared_ptr<std::FILE>& lock) const {
    if (m_LockName.empty()) return true;
    std::FILE* const file = std::fopen((m_LockName + std::to_string(interface)).c_str(), "w");
    if (file == nullptr) return false;
    lock.reset(file, &std::fclose); // the lock goes with it
    return ::flock(::fileno(file), LOCK_EX | LOCK_NB) == 0;
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
        item = item->second.file == &file ? m_Holders.erase(item) : std::next(item);
}

bool Claims::IsHeldBy(unsigned int interface, const OpenFile& file) const {
    const auto holder = m_Holders.find(interface);
    return holder != m_Holders.end() && holder->second.file == &file;
}

bool Claims::IsAnyHeld() const {
    return !m_Holders.empty() ||
           std::any_of(m_Drivers.begin(), m_Drivers.end(), [](const auto& each) { return each.second.bound; });
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
