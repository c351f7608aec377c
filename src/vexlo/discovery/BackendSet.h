#pragma once
// The buses that the library looks for cameras on.

#include "usb/Backend.h"
#include "vexlo/Status.h"

#include <memory>
#include <vector>

namespace vexlo {

using BackendList = std::vector<std::shared_ptr<usb::Backend>>;

/// Opens the real bus and, when TAVIX_VIRTUAL_CAMERAS is set, the virtual one. VX_E_USB_NOT_SUPPORTED when there is no
/// bus at all, VX_E_BACKEND when the virtual one was asked for and cannot be loaded. Throws where memory or threads are
/// short. Thread-safe.
[[nodiscard]] VxStatus CreateBackends(BackendList& backends);

/// For tests: what CreateBackends gives from now on instead of real buses; an empty list ends that. Thread-safe.
void InjectBackends(BackendList backends);

} // namespace vexlo
