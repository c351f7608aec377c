#pragma once
// The ioctls of a usbfs node.

#include "support/usbfs/Bus.h"

namespace usbfs {

/// Serves one ioctl. Returns what the system call would, or a negative errno.
int ServeIoctl(const Bus::Opened& opened, unsigned int request, void* argument);

} // namespace usbfs
