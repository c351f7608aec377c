#pragma once
// Finding and opening the cameras that a user named.

#include "line/Options.h"

#include <memory>
#include <string>
#include <vector>

#include <tavix/Tavix.h>

namespace tool {

/// What is said when there is no camera at all.
std::string NoCameraText();

/// All cameras of all transport layers, in the order in which `tavix list` numbers them. A library of a transport layer
/// that cannot be loaded gets a line on standard error. Throws Error when there is no camera because the virtual ones
/// that the environment asks for cannot be had.
Tavix::DeviceInfoList FindCameras();
/// The cameras that the options name: by number, serial number, GUID, user-defined name, model or full name.
/// Throws Error when there is no camera, when a name fits none, or when it fits several.
std::vector<Tavix::CDeviceInfo> ChooseCameras(const CommonOptions& options);
/// As ChooseCameras, for commands that work on exactly one.
Tavix::CDeviceInfo ChooseCamera(const CommonOptions& options);

/// An opened camera; closed and given back at the end of its scope. Bound to a thread.
class Camera {
public:
    /// Throws Error that names the camera, the reason, and what to do about it.
    explicit Camera(const Tavix::CDeviceInfo& info);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    Tavix::ITavixDevice& Device() { return *m_Device; }
    GenApi::INodeMap& Features() { return *m_Device->GetNodeMap(); }
    const std::string& Name() const { return m_Name; }

private:
    Tavix::ITavixDevice* m_Device;
    std::string m_Name;
};

} // namespace tool
