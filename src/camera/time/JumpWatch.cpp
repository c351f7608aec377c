#include "camera/time/JumpWatch.h"

#include <algorithm>
#include <cstdlib>

namespace Tavix::detail {
namespace {

constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kPause = 100 * kMillisecond; // between two looks
constexpr std::int64_t kUnevenness = kMillisecond;  // of a camera's own step

} // namespace

bool JumpWatch::IsInStep(std::int64_t camera) {
    const std::int64_t step = camera - m_LastCamera;
    const bool isInStep = std::llabs(step - m_LastStep) < kUnevenness;
    m_LastCamera = camera;
    m_LastStep = step;
    return isInStep;
}

[[gnu::hot]] bool JumpWatch::Doubts(std::int64_t camera, const std::optional<ClockMap::Estimate>& estimate,
                                    std::int64_t arrival) {
    const bool isInStep = IsInStep(camera);
    const bool isLate = estimate && m_UsualDelay > 0 && arrival - estimate->host > 2 * m_UsualDelay + 2 * kMillisecond;
    if (!estimate || (isLate && !isInStep)) m_IsDoubtful = true;
    if (estimate && !isLate) m_IsDoubtful = false;
    if (!m_IsDoubtful || arrival - m_LastDoubt < kPause) return false;
    m_IsDoubtful = false;
    m_LastDoubt = arrival;
    return true;
}

[[gnu::hot]] void JumpWatch::NoteDelay(std::int64_t delay) {
    if (!m_IsDoubtful) m_UsualDelay = std::max<std::int64_t>(delay, 1);
}

} // namespace Tavix::detail
