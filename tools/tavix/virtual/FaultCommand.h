#pragma once
// Faults of virtual cameras, by name.

#include <string>
#include <vector>

namespace tool {

struct FaultOptions {
    std::string cameras;             ///< number of cameras, or a settings file to begin with
    std::vector<std::string> faults; ///< "stream.LostTrailer:frame=5", "registers.manifest=PlainXml"
    bool json = false;
};

/// The settings of virtual cameras as JSON, with faults added to each; Error with the reason when they make no sense.
std::string SettingsWithFaults(const std::string& cameras, const std::vector<std::string>& faults);

/// Prints all faults with what they do.
int ListFaults(const FaultOptions& options);
/// Prints settings that TAVIX_VIRTUAL_CAMERAS and --virtual take.
int PrintSettings(const FaultOptions& options);

} // namespace tool
