#pragma once
// Finding the cameras that a user named.

#include "line/Options.h"

#include <string>
#include <vector>

#include <tavix/camera/Camera.h>

namespace tool {

/// What is said when there is no camera at all.
std::string NoCameraText();

/// All cameras of all transport layers, in the order in which `tavix list` numbers them. A library of a transport layer
/// that cannot be loaded gets a line on standard error. Throws Error when there is no camera because the virtual ones
/// that the environment asks for cannot be had.
std::vector<Tavix::CameraInfo> FindCameras();
/// The cameras that the options name: by number, serial number, GUID, user-defined name, model or full name.
/// Throws Error when there is no camera, when a name fits none, or when it fits several.
std::vector<Tavix::CameraInfo> ChooseCameras(const CommonOptions& options);
/// As ChooseCameras, for commands that work on exactly one.
Tavix::CameraInfo ChooseCamera(const CommonOptions& options);
/// The same, opened.
Tavix::Camera OpenCamera(const CommonOptions& options);
/// What people would name the cameras by: serial number and user-defined name, as far as they fit one camera only. One
/// that neither fits is there by its GUID, or else its number.
std::vector<std::string> HandyNames(const std::vector<Tavix::CameraInfo>& cameras);
/// As it is called in what a terminal shows, with its number where others of these are called alike: cameras need not
/// have serial numbers of their own.
std::string DistinctName(const Tavix::CameraInfo& camera, const std::vector<Tavix::CameraInfo>& cameras);
/// As it is called where it is the only one.
std::string NameOf(const Tavix::Camera& camera);

} // namespace tool
