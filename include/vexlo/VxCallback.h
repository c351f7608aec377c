#pragma once
// Notifications of the USB access library, used for surprise removal.

#include "vexlo/Export.h"
#include "vexlo/Status.h"

namespace vexlo {

class CVxDevice;

/// Kinds of notification.
enum EVxCallbackKind : unsigned int {
    VxCallback_DeviceRemoved = 11, ///< the bus reported that the camera left
    VxCallback_DeviceLost = 12     ///< a transfer found the camera gone before the bus reported it
};

struct VxCallbackData {
    unsigned int Kind; ///< EVxCallbackKind
    void* Context;     ///< as registered
    CVxDevice* Device; ///< as registered
};

using VxCallbackHandler = void (*)(const VxCallbackData* data);

struct VxCallbackParams {
    unsigned int Kind; ///< EVxCallbackKind
    void* Context;     ///< borrowed; passed to the handler
    CVxDevice* Device; ///< the camera that the notification is for; must be open
    VxCallbackHandler Handler;
};

/// Registers a notification. A removal calls the handler of every registered kind at most once each, on a thread of the
/// library that holds no lock of the library; the handler may deregister, close the device and call any operation.
[[nodiscard]] TAVIX_VEXLO_API VxStatus VxRegisterCallback(const VxCallbackParams* params, unsigned long* pHandle);
/// Ends a registration; returns after a running call of its handler has ended, except when called from a handler.
/// VX_E_NOT_FOUND when the handle is not registered (any more).
[[nodiscard]] TAVIX_VEXLO_API VxStatus VxDeregisterCallback(unsigned long handle);

} // namespace vexlo
