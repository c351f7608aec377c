#pragma once
// Library-wide operations of the USB access library.

#include "vexlo/Export.h"
#include "vexlo/Status.h"

namespace vexlo {

/// Prepares the library: opens the bus backends. Counted; each successful Init needs one Exit. Thread-safe.
[[nodiscard]] TAVIX_VEXLO_API VxStatus Init();
/// Undoes one Init. The last one ends all threads of the library; devices must be closed before. Thread-safe.
TAVIX_VEXLO_API void Exit();
/// 0 when the library can work here (a USB backend can be loaded). Needs no Init.
[[nodiscard]] TAVIX_VEXLO_API VxStatus IsLibraryLoadable();
/// Writes the NUL-terminated text of a status to `buffer` (cut to `size`), and its whole length without terminator to
/// `pLength` when not null. Unknown status: VX_E_NOT_FOUND, nothing written. Needs no Init.
TAVIX_VEXLO_API VxStatus GetStatusMessage(VxStatus status, char* buffer, unsigned long size, unsigned long* pLength);

} // namespace vexlo
