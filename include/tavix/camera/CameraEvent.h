#pragma once
// A message that a camera sends when something happened.

#include <tavix/camera/Export.h>
#include <tavix/camera/Value.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Tavix {

/// One event with the values that came with it. Re-entrant.
struct TAVIX_CAMERA_API CameraEvent {
    /// As the camera's EventSelector calls it: "ExposureEnd"; empty for one that its description does not know.
    std::string name;
    /// When the message came, on the host's monotonic clock.
    std::chrono::steady_clock::time_point arrival{};
    /// By the features' names: "EventExposureEndTimestamp".
    std::map<std::string, Value> values;
    /// The bytes that it came in.
    std::vector<std::uint8_t> message;

    /// A value by its feature's name, or by what follows "Event" and the event's name: "Timestamp". NotFound when the
    /// message does not hold it.
    const Value& operator[](const std::string& value) const;
};

} // namespace Tavix
