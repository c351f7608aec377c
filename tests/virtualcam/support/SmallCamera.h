#pragma once
// A camera whose images are soon drawn.

#include "virtualcam/settings/BackendSettings.h"

namespace virtualcam::test {

inline CameraSettings Small() {
    CameraSettings settings;
    settings.sensorWidth = 128;
    settings.sensorHeight = 64;
    settings.frameRateEnable = false;
    return settings;
}

} // namespace virtualcam::test
