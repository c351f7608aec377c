#pragma once
// Which transport layers there are, and what keeps others from being used.

#include <string>
#include <vector>

namespace tool {

/// Re-entrant.
struct TransportLayers {
    std::vector<std::string> names;       ///< of those that load
    std::vector<std::string> switchedOff; ///< of these, those that TAVIX_USE_TL keeps from finding cameras
    std::vector<std::string> broken;      ///< what is wrong with libraries that do not load
    /// What is wrong with the virtual cameras that the environment asks for, through no fault of the libraries; empty
    /// when nothing is.
    std::string virtualCameras = {};
};

TransportLayers FindTransportLayers();
/// "TAVIX_USE_TL is 'X', which switches USB/Y off; unset it"; empty when it switches nothing off.
std::string SwitchedOffText(const TransportLayers& layers);

} // namespace tool
