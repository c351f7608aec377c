#pragma once
// What changes in a list of cameras.

#include <vector>

#include <tavix/camera/CameraInfo.h>

namespace tool {

/// A camera that came or went.
struct CameraChange {
    bool isArrival = false;
    Tavix::CameraInfo info;
};

/// Compares lists of cameras that are taken one after the other; a camera is known by its full name. Bound to a thread.
class CameraWatch {
public:
    /// What has changed since the last list; with the first one, all of it has come. Departures stand first: a camera
    /// that was plugged in again goes before it comes.
    std::vector<CameraChange> Update(const std::vector<Tavix::CameraInfo>& cameras);

private:
    std::vector<Tavix::CameraInfo> m_Known;
};

} // namespace tool
