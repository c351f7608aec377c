#pragma once
// How a device makes its stream and tells it of its own fate.

#include "vexlo/VxStream.h"
#include "vexlo/stream/StreamHost.h"

#include <memory>

namespace vexlo {

/// The stream of a device; `host` outlives it.
std::unique_ptr<CVxStream> MakeStream(StreamHost& host);
/// Stops and closes the stream because the device is about to close; every queued buffer completes. Returns when no
/// transfer is in flight and the interface is released.
void DetachStream(CVxStream& stream);
/// The bus says that the camera left: queued buffers complete as failed. May be called from any thread but the stream's.
void StreamLost(CVxStream& stream);

} // namespace vexlo
