#include "Failure.h"

#include "vexlo/Vexlo.h"

namespace Tavix {

GenICam::gcstring VxStatus2Msg(unsigned int status) {
    char text[1024] = {};
    vexlo::GetStatusMessage(status, text, sizeof text, nullptr);
    text[sizeof text - 1] = 0;
    return text;
}

DevicePresence PresenceBy(unsigned int status) {
    if (status == vexlo::VX_E_USB_NO_DEVICE) return DevicePresence::Gone;
    return status == vexlo::VX_E_TIMEOUT ? DevicePresence::Silent : DevicePresence::There;
}

} // namespace Tavix
