#pragma once
// How fast a camera sends, as caps put it.

#include "gstreamer/Handles.h"

#include <tavix/camera/Camera.h>

#include <gst/gst.h>

namespace tavixgst {

/// A variable rate is that of a camera which is triggered, or sends as fast as it can, or does not tell.
struct FrameRate {
    bool isKnown = false; ///< the camera has the feature; else the rest is nothing
    bool isVariable = true;
    double least = 0, most = 0, present = 0;
};

FrameRate FrameRateOf(const Tavix::Camera& camera);
/// How the feature is called.
inline constexpr char kFrameRate[] = "AcquisitionFrameRate";
/// Once with a variable rate, which is 0/1, and once with the camera's limits; what it is set to comes first. In one
/// list they would be caps that GStreamer cannot compare.
void AppendWithFrameRate(GstCaps& caps, StructurePtr one, const FrameRate& rate);
/// Chooses the present rate if the caps allow it, else the nearest.
void FixateFrameRate(GstStructure& caps, const FrameRate& rate);
/// 0/1 changes nothing.
void SetFrameRate(Tavix::Camera& camera, gint numerator, gint denominator);

} // namespace tavixgst
