#pragma once
// Who looks at the frames of a grab.

#include "cameras/Camera.h"

namespace tool {

/// What the chunk data of a frame says about the frame.
enum class ChunkCheck {
    NotAsked, ///< chunks are not switched on by the grab
    Right,
    Wrong,
    Missing, ///< the chunks are in order, and no checksum is among them
    Damaged  ///< no chunks can be found in the buffer
};

/// Called on the thread of the grab, with no lock held. What it throws ends the grab.
class FrameObserver {
public:
    virtual ~FrameObserver() = default;
    /// The stream is prepared, the acquisition has not begun.
    virtual void OnReady(Camera& camera) = 0;
    /// A good frame; its buffer is queued again afterwards. Unless the check says NotAsked or Damaged, the camera's
    /// features show the chunks of this frame.
    virtual void OnFrame(const Tavix::GrabResult& result, ChunkCheck check) = 0;
    /// Before the grab is finished; also after a failure, and when the camera has gone.
    virtual void OnEnd(Camera& camera) = 0;
};

} // namespace tool
