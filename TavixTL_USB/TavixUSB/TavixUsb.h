#pragma once
// The entry points of the transport layer's shared library and the info record that describes it.

#include "tavix/TransportLayer.h"
#include "tavix/usb/Export.h"

namespace Tavix {

/// The identity of this transport layer everywhere.
inline constexpr char kDeviceClass[] = "VandrelUsb";

/// Describes this transport layer. Re-entrant.
class CUsbTlInfo : public CTlInfo {
public:
    /// A failure to fill the record is logged; it stays partly filled.
    CUsbTlInfo();
};

/// The one record of the process. RuntimeException when the USB access library cannot be loaded, which is asked on
/// every call. Thread-safe.
const CUsbTlInfo& GetTLInfo();

} // namespace Tavix

// What the factory looks up by name. The factory serialises its calls.
extern "C" {

/// Appends one entry and returns true.
TAVIX_USB_API bool GetTLInfoList(Tavix::TlInfoList& list);

/// The one transport layer of the process; the same object for every caller until it is destroyed. Null for an info of
/// another device class. RuntimeException when the USB access library cannot be initialised.
TAVIX_USB_API Tavix::ITransportLayer* Create(const Tavix::CTlInfo& info);

/// Null and pointers that are not the present transport layer are ignored.
TAVIX_USB_API void Destroy(Tavix::ITransportLayer* tl);
}
