#pragma once
// Finds USB3 Vision cameras.

#include "vexlo/DeviceDiscoveryInfo.h"
#include "vexlo/Export.h"
#include "vexlo/Status.h"

namespace vexlo {

/// Thread-safe.
class TAVIX_VEXLO_API CEnumerator {
public:
    /// Receives what discovery finds.
    class Callee {
    public:
        virtual ~Callee() = default;
        /// Called once per camera, on the caller's thread, inside Discover, in a stable order. The record lives for the
        /// call. 0 goes on; any other value ends the enumeration.
        virtual int EnumCallback(const DeviceDiscoveryInfo* info) = 0;
    };

    /// Lists every attached camera, those that are busy or not permitted included.
    [[nodiscard]] static VxStatus Discover(Callee* callee);
    /// Fills `info` for the camera with the given device path. VX_E_NOT_FOUND when it is not attached.
    [[nodiscard]] static VxStatus DeviceInfoFromPath(const char* path, DeviceDiscoveryInfo& info);
    /// The version that a camera states of itself, cut to `size` bytes with the closing NUL. The camera is opened for a
    /// moment, once while it stays plugged in: its answer is kept where the bus tells of departures. Fails as Open and
    /// ReadMem of CVxDevice do; a silent camera is waited for two seconds at most, though its firmware may be booting.
    [[nodiscard]] static VxStatus DeviceVersion(const DeviceDiscoveryInfo& info, char* buffer, unsigned long size);
    /// Whether the camera could be opened now, as far as the bus knows: it is claimed for a moment, and no register
    /// is touched. VX_E_BUSY, VX_E_USB_ACCESS and VX_E_NOT_FOUND as Open of CVxDevice; one that is silent counts as
    /// free.
    [[nodiscard]] static VxStatus CheckAccess(const DeviceDiscoveryInfo& info);
};

} // namespace vexlo
