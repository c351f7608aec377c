#pragma once
// Virtual cameras that are added and plagued while the program runs.

#include "viewer/server/Protocol.h"

namespace viewer {

/// Hands a request to the bus of virtual cameras; virtualcam/backend/Bench.h has its forms. Throws std::runtime_error
/// with the reason when it cannot be done. Thread-safe.
Json AskVirtualCameras(const Json& request);

} // namespace viewer
