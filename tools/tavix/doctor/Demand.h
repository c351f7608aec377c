#pragma once
// Asking cameras what they need.

#include "doctor/Examination.h"

namespace tool {

/// Opens each camera in turn and closes it again.
std::vector<CameraDemand> AskCameras();

} // namespace tool
