#pragma once
// Finding and setting features by their names.

#include <string>

#include <tavix/camera/Camera.h>

namespace tool {

/// Throws Error with similar names when there is none.
Tavix::Feature FindFeature(const Tavix::Camera& camera, const std::string& name);

/// Sets a feature from "NAME=VALUE", or executes the command "NAME" and waits until it is done. Throws when there is no
/// such feature or it refuses. Returns the feature.
Tavix::Feature ApplySetting(const Tavix::Camera& camera, const std::string& setting);

/// Switches chunk data on, and every chunk that the camera offers. Throws Error when it offers none.
void EnableAllChunks(const Tavix::Camera& camera);

} // namespace tool
