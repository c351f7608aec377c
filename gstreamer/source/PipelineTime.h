#pragma once
// The moments of images on the clock of a pipeline.

#include <tavix/camera/Image.h>

#include "gstreamer/Handles.h"

#include <atomic>
#include <chrono>

namespace tavixgst {

/// For the pipeline's thread, but for Delay() and Reset().
class PipelineTime {
public:
    /// A moment of an image as running time of the element's pipeline; never before that of the image before.
    /// GST_CLOCK_TIME_NONE without a clock.
    GstClockTime StampOf(GstElement& element, std::chrono::steady_clock::time_point moment);
    /// Begins anew.
    void Reset();
    /// The longest time that it took an image to get here, rounded up to a tenth more.
    GstClockTime Delay() const { return m_Delay; }
    /// Whether an image took longer than any before, which the pipeline then has to allow for. For images that were
    /// taken when they came: others have waited for the pipeline, and the longer it is allowed to take the longer they
    /// wait.
    bool HasGrown(const Tavix::Image& image);

private:
    std::int64_t OnClock(std::int64_t moment) const;

    ClockPtr m_Clock; // that the pipeline had last
    bool m_IsMonotonic = false;
    std::atomic<GstClockTime> m_Last{0};
    std::atomic<GstClockTime> m_Delay{0};
};

} // namespace tavixgst
