#pragma once
// The locks of a device in their order, for operations that need more than its own.

#include "device/TavixUsbDevice.h"

#include <GenApi/Synch/Lock.h>

#include <optional>

namespace Tavix {

/// The camera node map's lock, if there is a camera node map, then the device's: as a feature access takes them. For
/// whatever touches nodes while it holds the device. Bound to a thread.
struct CTavixUsbDevice::NodeMapAndDeviceGuard {
    explicit NodeMapAndDeviceGuard(const CTavixUsbDevice& device) {
        if (device._Ptr) m_NodeMap.emplace(device._Ptr->GetLock());
        m_Device = Guard(device.m_Lock);
    }

private:
    std::optional<GenApi::AutoLock> m_NodeMap;
    Guard m_Device;
};

/// All that closing needs: the grabbers' locks, then those above. Bound to a thread.
struct CTavixUsbDevice::AllGuard {
    explicit AllGuard(const CTavixUsbDevice& device);

private:
    Guard m_Stream;
    Guard m_EventGrabber;
    NodeMapAndDeviceGuard m_NodeMapAndDevice;
};

} // namespace Tavix
