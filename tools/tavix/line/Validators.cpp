#include "line/Validators.h"

#include "virtualcam/settings/BackendSettings.h"

namespace tool {

CLI::Validator Count(std::uint64_t most, std::uint64_t least) {
    const std::string range = std::to_string(least) + " .. " + std::to_string(most);
    return CLI::Validator(
        [=](std::string& text) -> std::string {
            const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
            const bool fits = digits && text.size() < 19 && std::stoull(text) >= least && std::stoull(text) <= most;
            return fits ? "" : "'" + text + "' is no whole number of " + range;
        },
        "");
}

CLI::Validator NotEmpty() {
    return CLI::Validator([](std::string& text) { return std::string(text.empty() ? "it needs a name" : ""); }, "");
}

std::string CheckVirtualCameras(std::string& text) {
    if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos) {
        return Count(32)(text);
    }
    virtualcam::BackendSettings settings;
    std::string error;
    return virtualcam::ReadSettings(text, settings, error) ? "" : error;
}

std::string CheckFormat(std::string& text) {
    const bool known = text == "png" || text == "pgm" || text == "raw";
    return known ? "" : "'" + text + "' is none of png, pgm, raw";
}

std::string CheckShell(std::string& text) {
    const bool known = text == "bash" || text == "zsh" || text == "fish";
    return known ? "" : "'" + text + "' is none of bash, zsh, fish";
}

} // namespace tool
