#pragma once
// What a camera's bootstrap registers tell about it.

#include "vexlo/control/RegisterAccess.h"

#include <cstdint>

namespace vexlo {

/// Re-entrant.
struct Bootstrap {
    std::uint64_t capability = 0;      ///< Device Capability
    std::uint64_t manifestAddress = 0; ///< 0 when the camera does not tell
    std::uint32_t streamCount = 0;
    std::uint64_t streamAddress = 0; ///< of stream 0; 0 when there is none
    std::uint32_t streamLength = 0;  ///< from one stream's registers to the next one's
    std::uint64_t eventAddress = 0;  ///< 0 when there are no events
};

/// Reads what is needed to use the camera and tells the channel its times and limits. Registers that a camera lacks
/// count as absent; fails only where nothing can be done without, or when the camera answers nothing any more.
[[nodiscard]] VxStatus ReadBootstrap(ControlChannel& channel, const Deadline& whole, Bootstrap& bootstrap);

/// Ends what a predecessor may have left running: streams and events are switched off.
void StopLeftOvers(RegisterAccess& registers, const Bootstrap& bootstrap);

} // namespace vexlo
