#pragma once
// Where the cameras of these tests are plugged in: beside the real bus, or below the real libusb.

#include <memory>
#include <string>

namespace virtualcam {
class Device;
}

namespace integration {

/// Cameras on the bus as long as this lives. Which bus is decided by the source file that the program is built with.
/// Bound to a thread.
class CamerasOnBus {
public:
    CamerasOnBus() = default;
    CamerasOnBus(const CamerasOnBus&) = delete;
    CamerasOnBus& operator=(const CamerasOnBus&) = delete;
    virtual ~CamerasOnBus() = default;

    /// The camera itself, to unplug it or to make it do something; null where it is out of reach.
    virtual virtualcam::Device* Find(std::size_t index) = 0;
};

/// `settings` is the JSON text that describes the cameras.
std::unique_ptr<CamerasOnBus> PlugIn(const std::string& settings);

} // namespace integration
