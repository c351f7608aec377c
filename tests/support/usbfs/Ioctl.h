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

/// Processor time that threads have spent in the ioctls of all nodes since this was first called; a program below which
/// the bus was preloaded finds it by name. What a kernel would spend there differs, so it is no cost of the program.
extern "C" std::uint64_t usbfs_ioctl_nanoseconds();

/// Serves one ioctl. Returns what the system call would, or a negative errno.
int ServeIoctl(const Bus::Opened& opened, unsigned int request, void* argument);

} // namespace usbfs
