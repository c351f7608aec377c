#pragma once
// The locks of a device in their order, for operations that need more than its own.

#include "device/TavixUsbDevice.h"

#include <GenApi/Synch/Lock.h>

#include <optional>

namespace Tavix {

/// The camera node map's lock, if there is a camera node map, then the device's: as a feature access takes them. For
/// whatever touches nodes while it holds the device. Bound to a thread.
class TAVIX_SCOPED_CAPABILITY CTavixUsbDevice::NodeMapAndDeviceGuard {
public:
    /// The node map's lock is there or not, which the analysis cannot follow.
    explicit NodeMapAndDeviceGuard(const CTavixUsbDevice& device)
        TAVIX_ACQUIRE(device.m_Lock) TAVIX_NO_THREAD_SAFETY_ANALYSIS {
        if (device._Ptr) m_NodeMap.emplace(device._Ptr->GetLock());
        m_Device.emplace(device.m_Lock);
    }
    ~NodeMapAndDeviceGuard() TAVIX_RELEASE() {}
    NodeMapAndDeviceGuard(const NodeMapAndDeviceGuard&) = delete;
    NodeMapAndDeviceGuard& operator=(const NodeMapAndDeviceGuard&) = delete;

private:
    std::optional<GenApi::AutoLock> m_NodeMap;
    std::optional<TransportGuard> m_Device;
};

/// All that closing needs: the grabbers' locks, then those above. Bound to a thread.
class TAVIX_SCOPED_CAPABILITY CTavixUsbDevice::AllGuard {
public:
    /// Of the locks the analysis hears of the device's alone: what the others guard is the grabbers' own business.
    explicit AllGuard(const CTavixUsbDevice& device) TAVIX_ACQUIRE(device.m_Lock) TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    ~AllGuard() TAVIX_RELEASE() {}
    AllGuard(const AllGuard&) = delete;
    AllGuard& operator=(const AllGuard&) = delete;

private:
    TransportGuard m_Stream;
    TransportGuard m_EventGrabber;
    NodeMapAndDeviceGuard m_NodeMapAndDevice;
};

} // namespace Tavix
