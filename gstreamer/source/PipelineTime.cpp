#include "gstreamer/source/PipelineTime.h"

#include <algorithm>
#include <utility>

namespace tavixgst {
namespace {

std::int64_t Nanoseconds(std::chrono::steady_clock::time_point moment) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
}

bool IsMonotonic(GstClock& clock) {
    if (G_OBJECT_TYPE(&clock) != GST_TYPE_SYSTEM_CLOCK) return false;
    GstClockType type = GST_CLOCK_TYPE_OTHER;
    g_object_get(&clock, "clock-type", &type, nullptr);
    return type == GST_CLOCK_TYPE_MONOTONIC;
}

/// gst_clock_adjust_unlocked() would never tell a moment before that of which somebody has asked the clock last.
std::int64_t Calibrated(GstClock& clock, std::int64_t moment) {
    GstClockTime internal = 0, external = 0, numerator = 1, denominator = 1;
    gst_clock_get_calibration(&clock, &internal, &external, &numerator, &denominator);
    return static_cast<std::int64_t>(gst_clock_adjust_with_calibration(&clock, static_cast<GstClockTime>(moment),
                                                                       internal, external, numerator, denominator));
}

} // namespace

// The usual clock counts as the image's moment does; another one is asked now, and tells how long ago that was.
std::int64_t PipelineTime::OnClock(std::int64_t moment) const {
    if (m_IsMonotonic) return Calibrated(*m_Clock, moment);
    const std::int64_t age = Nanoseconds(std::chrono::steady_clock::now()) - moment;
    return static_cast<std::int64_t>(gst_clock_get_time(m_Clock.get())) - age;
}

GstClockTime PipelineTime::StampOf(GstElement& element, std::chrono::steady_clock::time_point moment) {
    ClockPtr clock(gst_element_get_clock(&element));
    if (!clock) return GST_CLOCK_TIME_NONE;
    if (clock != m_Clock) {
        m_Clock = std::move(clock);
        m_IsMonotonic = IsMonotonic(*m_Clock);
    }
    const std::int64_t time =
        OnClock(Nanoseconds(moment)) - static_cast<std::int64_t>(gst_element_get_base_time(&element));
    const GstClockTime stamp = std::max(m_Last.load(), static_cast<GstClockTime>(std::max<std::int64_t>(0, time)));
    m_Last = stamp;
    return stamp;
}

void PipelineTime::Reset() {
    m_Last = 0;
}

bool PipelineTime::HasGrown(const Tavix::Image& image) {
    const std::int64_t taken = Nanoseconds(image.Arrival()) - Nanoseconds(image.Time().monotonic);
    const auto delay = static_cast<GstClockTime>(std::max<std::int64_t>(0, taken));
    if (delay <= m_Delay) return false;
    m_Delay = delay + delay / 10;
    return true;
}

} // namespace tavixgst
