#pragma once
// What makes one virtual camera different from the next.

#include <cstdint>
#include <string>
#include <vector>

#include "usb/Backend.h"
#include "virtualcam/device/FaultScript.h"
#include "virtualcam/firmware/Clock.h"

namespace virtualcam {

struct CameraSettings {
    std::string vendor = "Vandrel";
    std::string model = "VC-1300";
    std::string family = "Virtual";
    std::string deviceVersion = "1.0";
    std::string firmwareVersion = "1.0.0";
    std::string manufacturerInfo = "Virtual camera";
    std::string serial = "40000001";
    std::string guid = "120940000001"; ///< 12 hexadecimal digits; the first four are the USB vendor id
    std::string userName;              ///< user-defined name at power-up
    std::uint16_t productId = 0x0001;
    std::uint32_t sensorWidth = 1280;
    std::uint32_t sensorHeight = 1024;
    double frameRate = 30.0;     ///< AcquisitionFrameRate at power-up
    bool frameRateEnable = true; ///< off: as fast as the host takes frames
    usb::Speed speed = usb::Speed::Super;
    unsigned streams = 1;        ///< sensors, each with a stream interface of its own; 1 to kMaximumStreams
    unsigned bufferedFrames = 4; ///< frames of each that wait inside the camera for a slow host
    unsigned queuedEvents = 64;  ///< event messages that wait inside the camera
    bool plugged = true;         ///< attached from the beginning
    ClockSettings clock;
    RegisterFaults registers;
    FaultScript faults;
};

struct BackendSettings {
    std::vector<CameraSettings> cameras;
    std::size_t transferMemoryLimit = 0; ///< bytes of queued transfers, 0: no limit
};

/// Settings of the index-th (0...) camera when only their number is given: distinct serial numbers and GUIDs.
CameraSettings NumberedCamera(unsigned index);

/// The text of a settings file. Throws std::runtime_error that names it and says why it cannot be read.
std::string ReadSettingsFile(const std::string& path);

/// Reads a number of cameras ("2"), the path of a JSON file, or the JSON text itself, which begins with a brace. False
/// with a reason in `error` that names the file, the key and what is allowed there.
///
/// The file is an object: "transferMemoryLimit" (bytes) and "cameras", an array of objects. Each may have "vendor",
/// "model", "family", "deviceVersion", "firmwareVersion", "manufacturerInfo", "serial", "guid", "userName",
/// "productId", "sensorWidth", "sensorHeight", "frameRate", "frameRateEnable", "speed" ("High", "Super",
/// "SuperPlus"), "streams", "bufferedFrames", "queuedEvents", "plugged", "clock", "registers" and "faults". What is
/// left out is as in NumberedCamera. "clock" names the fields of ClockSettings, "registers" and "faults" name the
/// fields of RegisterFaults and FaultScript; a fault is named as in its enumeration: {"control": [{"fault": "Late",
/// "value": 300, "skip": 2, "command": 2048}], "stream":
/// [{"fault": "LostTrailer", "frame": 5}]}. docs/virtual-camera.md has an example.
bool ReadSettings(const std::string& text, BackendSettings& settings, std::string& error);
/// The same from the JSON text itself.
bool ParseSettings(const std::string& json, BackendSettings& settings, std::string& error);

} // namespace virtualcam
