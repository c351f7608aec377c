#pragma once
// Finding and setting features by their names.

#include <string>

#include <GenApi/GenApi.h>

namespace tool {

/// `text` in lower case (ASCII).
std::string Lower(std::string text);

/// The value of a feature; throws Error with similar names when there is none.
GenApi::IValue& FindFeature(GenApi::INodeMap& features, const std::string& name);

/// Sets a feature from "NAME=VALUE", or executes the command "NAME" and waits until it is done. Throws Error when there
/// is no such feature or it refuses. Returns the feature.
GenApi::IValue& ApplySetting(GenApi::INodeMap& features, const std::string& setting);

/// Switches chunk data on, and every chunk that the camera offers. Throws Error when it offers none.
void EnableAllChunks(GenApi::INodeMap& features);

/// " (reason)" why the access to a feature is restricted now; empty when nothing is known.
std::string WhyText(GenApi::INode& node);

} // namespace tool
