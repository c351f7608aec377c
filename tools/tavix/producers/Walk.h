#pragma once
// What a GenTL producer shows to whoever looks for cameras.

#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Name and value of what a module tells of itself, in the interface's order; what it does not tell is left out.
using ModuleInfos = std::vector<std::pair<std::string, std::string>>;

/// What one of its devices shows. Re-entrant.
struct ShownDevice {
    std::string id;
    ModuleInfos infos;
    std::string failure; ///< what could not be asked, and why; empty when all could
};
/// Re-entrant.
struct ShownInterface {
    std::string id;
    ModuleInfos infos;
    std::string failure;
    std::vector<ShownDevice> devices;
};
/// Re-entrant.
struct ShownSystem {
    ModuleInfos infos;
    std::string failure;
    std::vector<ShownInterface> interfaces;
};

/// Loads the producer, looks at everything without opening a device, and gives it back. What fails is told in its
/// place, and the walk goes on behind it. Throws Error when the producer cannot be loaded or initialised.
ShownSystem WalkProducer(const std::string& path);

/// What failed, from the system down, each with the module that it belongs to.
std::vector<std::string> FailuresIn(const ShownSystem& shown);

} // namespace tool
