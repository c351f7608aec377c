#pragma once
// The camera's clock, told by the host's.

#include "cameras/Camera.h"

#include <cstdint>
#include <optional>

namespace tool {

/// Nanoseconds of the host's steady clock.
std::int64_t HostNanoseconds();

/// Reads the camera's clock together with the host's, and translates between them. Bound to a thread.
class CameraClock {
public:
    /// Latches the camera's timestamp some times and keeps the reading whose round trip was the shortest. Without
    /// effect for a camera that has no such features.
    void Read(Camera& camera);
    /// When the host's clock showed what the camera's clock calls `timestamp`; nothing without a reading. With a
    /// reading before and one after, drift between the clocks is taken out.
    std::optional<std::int64_t> ToHost(std::uint64_t timestamp) const;

private:
    struct Reading {
        std::int64_t host = 0, camera = 0;
        std::int64_t roundTrip = 0;
    };

    std::optional<Reading> m_First, m_Last;
};

} // namespace tool
