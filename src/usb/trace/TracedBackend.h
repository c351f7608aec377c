#pragma once
// A bus whose traffic is written to a trace.

#include "usb/Backend.h"
#include "usb/trace/TraceFile.h"

#include <memory>

namespace usb {

/// The backend itself when `trace` is null, so that a trace costs nothing while there is none; else one that passes all
/// calls on and records what devices say of themselves when they are listed, and every transfer.
[[nodiscard]] std::unique_ptr<Backend> Traced(std::unique_ptr<Backend> backend, std::shared_ptr<TraceFile> trace);

} // namespace usb
