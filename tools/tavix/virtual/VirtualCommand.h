#pragma once
// Lending virtual cameras to hosts outside this process.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// One of the three ways must be asked for.
struct ServeOptions {
    std::string cameras;                ///< number or settings file
    std::vector<std::string> faults;    ///< added to each camera
    std::optional<std::uint16_t> usbip; ///< TCP port
    std::string listen = "127.0.0.1";   ///< address for USB/IP
    bool vhci = false;                  ///< attach to this computer's kernel
    std::string usbredir;               ///< path of a local socket
};

/// Serves until it is interrupted or told to quit on standard input, where it also takes "unplug 1" and "plug 1".
int Serve(const ServeOptions& options);

} // namespace tool
