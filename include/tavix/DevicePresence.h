#pragma once
// Whether a camera is still there: an optional interface of devices.

#include <tavix/Export.h>

#include <Base/GCException.h>

namespace Tavix {

/// How a camera was found when it was asked.
enum class DevicePresence { There, Silent, Gone };

/// The RuntimeException of a device that could not be made or opened because its camera has gone or is silent.
/// Re-entrant.
class TAVIX_BASE_API PresenceException : public GenICam::RuntimeException {
public:
    PresenceException(DevicePresence presence, const char* description, const char* sourceFileName, unsigned int line)
        : RuntimeException(description, sourceFileName, line), m_Presence(presence) {}
    DevicePresence Presence() const { return m_Presence; }

private:
    DevicePresence m_Presence;
};

/// Found by dynamic_cast from an ITavixDevice; null where the device has none. The order of the operations is part of
/// the binary interface. Thread-safe.
class TAVIX_BASE_API IDevicePresence {
public:
    /// Gone as soon as an access has found so, which may be before the removal callback. There again once it is opened
    /// anew.
    virtual DevicePresence Presence() const = 0;
    /// What a status, of GrabResult::GetErrorCode say, tells of it; There for all that have other reasons.
    virtual DevicePresence PresenceBy(unsigned int status) const = 0;

protected:
    ~IDevicePresence() = default;
};

} // namespace Tavix
