#pragma once
// Images that make one doubt a camera's clock.

#include "camera/time/ClockMap.h"

#include <cstdint>
#include <optional>

namespace Tavix::detail {

/// Tells after which image the camera's clock is worth a look, since it may have jumped: one that seems to come from
/// the future or from long ago, or that is much later than those before although the camera took it out of its step.
/// An image that is late in step was late on its way. All times in nanoseconds. Bound to a thread.
class JumpWatch {
public:
    /// Of each image in its order. `estimate` is its moment on the host's clock, nothing if it cannot be.
    bool Doubts(std::int64_t camera, const std::optional<ClockMap::Estimate>& estimate, std::int64_t arrival);
    /// How late the image is after that look, if there was one.
    void NoteDelay(std::int64_t delay);
    /// The clock has jumped: all that was usual is so no more.
    void Forget() { m_UsualDelay = 0; }

private:
    bool IsInStep(std::int64_t camera);

    std::int64_t m_UsualDelay = 0; // of an image's arrival behind its time; 0: not known
    std::int64_t m_LastCamera = 0, m_LastStep = 0;
    std::int64_t m_LastDoubt = 0;
    bool m_IsDoubtful = false; // and waits for its look
};

} // namespace Tavix::detail
