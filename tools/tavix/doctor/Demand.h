#pragma once
// Asking cameras what they need.

#include "doctor/Examination.h"

#include <cstdint>

namespace Tavix {
class IStreamMemory;
}

namespace tool {

/// How many of the buffers that a stream usually has, of `payload` bytes each, the kernel maps at the same time.
unsigned int MappedBuffers(Tavix::IStreamMemory& mapper, std::uint64_t payload);

/// Opens all cameras at the same time and closes them again.
std::vector<CameraDemand> AskCameras();

} // namespace tool
