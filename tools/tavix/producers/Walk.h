#pragma once
// What a GenTL producer shows to whoever looks for cameras.

#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Name and value of what a module tells of itself, in the interface's order; what it does not tell is left out.
using ModuleInfos = std::vector<std::pair<std::string, std::string>>;

struct ShownDevice {
    std::string id;
    ModuleInfos infos;
};
struct ShownInterface {
    std::string id;
    ModuleInfos infos;
    std::vector<ShownDevice> devices;
};
/// Re-entrant.
struct ShownSystem {
    ModuleInfos infos;
    std::vector<ShownInterface> interfaces;
};

/// Loads the producer, looks at everything without opening a device, and gives it back. Throws Error.
ShownSystem WalkProducer(const std::string& path);

} // namespace tool
