#pragma once
// The ioctls of a usbfs node.

#include "support/usbfs/Bus.h"

#include <cstdint>

namespace usbfs {

/// Ioctls of this process since its start.
struct IoctlCounts {
    std::uint64_t submits = 0;
    std::uint64_t reaps = 0;     ///< that brought a transfer
    std::uint64_t vainReaps = 0; ///< that brought none
    std::uint64_t others = 0;
};
IoctlCounts CountIoctls();

/// Serves one ioctl. Returns what the system call would, or a negative errno.
int ServeIoctl(const Bus::Opened& opened, unsigned int request, void* argument);

} // namespace usbfs
