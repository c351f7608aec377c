#pragma once
// Asking cameras what they need.

#include "doctor/Examination.h"

namespace tool {

/// Opens all cameras at the same time and closes them again.
std::vector<CameraDemand> AskCameras();

} // namespace tool
