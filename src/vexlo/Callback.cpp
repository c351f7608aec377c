// Notifications of the USB access library.
#include "vexlo/Library.h"
#include "vexlo/NoThrow.h"
#include "vexlo/VxCallback.h"
#include "vexlo/discovery/RemovalNotifier.h"

namespace vexlo {

VxStatus VxRegisterCallback(const VxCallbackParams* params, unsigned long* pHandle) {
    if (params == nullptr || pHandle == nullptr || params->Handler == nullptr) return VX_E_INVALID_PARAMETER;
    if (params->Kind != VxCallback_DeviceRemoved && params->Kind != VxCallback_DeviceLost)
        return VX_E_INVALID_PARAMETER;
    return NoThrow([&] {
        const auto library = Library::Get();
        return library ? library->Notifier()->Register(*params, *pHandle) : VX_E_NOT_INITIALIZED;
    });
}

VxStatus VxDeregisterCallback(unsigned long handle) {
    const auto library = Library::Get();
    return library ? library->Notifier()->Deregister(handle) : VX_E_NOT_INITIALIZED;
}

} // namespace vexlo
