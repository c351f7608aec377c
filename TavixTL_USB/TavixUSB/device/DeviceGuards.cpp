#include "device/DeviceGuards.h"

#include "event/TavixUsbEventGrabber.h"
#include "stream/TavixUsbStream.h"

namespace Tavix {

CTavixUsbDevice::AllGuard::AllGuard(const CTavixUsbDevice& device)
    : m_Stream(device.m_pStream->GetLock()), m_EventGrabber(device.m_pEventGrabber->GetLock()),
      m_NodeMapAndDevice(device) {}

} // namespace Tavix
