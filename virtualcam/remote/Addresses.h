#pragma once
// Under which addresses a server can be reached.

#include <string>
#include <vector>

namespace virtualcam {

/// What clients have to call when a server listens on `address`: that itself, unless it stands for all addresses of
/// this computer; then these, with the one that works on this computer only first.
std::vector<std::string> ReachableAddresses(const std::string& address);

} // namespace virtualcam
