#pragma once
// Which USB host controllers this machine has, and which of them a camera is on.

#include <string>
#include <vector>

namespace gentl {

/// An interface as consumers see it.
struct HostController {
    std::string id;   ///< the same over restarts
    std::string name; ///< for people
    bool operator==(const HostController& other) const { return id == other.id && name == other.name; }
};

/// The real ones, in the order of their IDs; empty where the system does not tell.
std::vector<HostController> FindHostControllers();
/// The one that a device path of the USB access library leads to; controllers that are not real have one of their own.
HostController ControllerOf(const std::string& devicePath);

} // namespace gentl
