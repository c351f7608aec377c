#pragma once
// Who looks at the images of a grab.

#include <tavix/camera/Camera.h>

namespace tool {

/// Called on the thread of the grab, with no lock held. What it throws ends the grab.
class FrameObserver {
public:
    virtual ~FrameObserver() = default;
    /// Everything is set, the stream has not begun.
    virtual void OnReady(Tavix::Camera& camera) = 0;
    virtual void OnImage(const Tavix::Image& image) = 0;
    /// Before the camera is closed; also after a failure, and when the camera has gone.
    virtual void OnEnd() = 0;
};

} // namespace tool
