#pragma once
// The packets at both ends of a block.

#include "virtualcam/Bytes.h"
#include "virtualcam/device/channel/BlockFaults.h"
#include "virtualcam/firmware/control/AcquisitionControl.h"

namespace virtualcam {

// Both replace what is in their first argument.

/// `height` is the one that the leader announces.
void WriteLeader(Bytes& leader, const Frame& frame, std::uint32_t height, const BlockFaults& faults);
void WriteTrailer(Bytes& trailer, const Frame& frame, std::uint16_t status, std::uint64_t validBytes,
                  const BlockFaults& faults);

} // namespace virtualcam
