#pragma once
// Caps out of a camera's limits, and a camera set up as caps say.

#include "gstreamer/Handles.h"
#include "gstreamer/caps/CapsFormat.h"

#include <tavix/camera/Camera.h>

#include <gst/video/video.h>

#include <map>
#include <string>

namespace tavixgst {

/// Whether formats that GStreamer lacks are converted on the host.
enum class Conversion { None, WhereNeeded };

/// What goes down the pipeline. Re-entrant.
struct Layout {
    const CapsFormat* format = nullptr; ///< null: nothing is negotiated
    guint width = 0, height = 0;
    gint rateNumerator = 0, rateDenominator = 1; ///< 0/1: variable
    gsize stride = 0, size = 0;                  ///< as GStreamer lays such images out when nothing else is told
    GstVideoInfo video{};                        ///< for raw video

    /// Zero for a variable rate.
    GstClockTime Duration() const;
};

/// All that the camera can send now; what it is set to stands first.
CapsPtr CapsOf(const Tavix::Camera& camera, Conversion conversion);
/// Chooses what the camera is set to wherever the caps leave a choice, and else what is nearest. Consumes the caps
/// unless it throws.
GstCaps* Fixate(const Tavix::Camera& camera, GstCaps* caps);
/// Null for caps that are not of ours.
const CapsFormat* FormatOf(const Tavix::Camera& camera, const GstStructure& caps, Conversion conversion);
Layout LayoutOf(const CapsFormat& format, const GstCaps& caps);
/// Values of those features that caps say, by their names.
using Setup = std::map<std::string, std::string>;
/// As the camera is set now; a rate only where it has one.
Setup SetupOf(const Tavix::Camera& camera);
/// Sets the camera up; what is so already is not written. The camera must not stream.
void Configure(Tavix::Camera& camera, const Layout& layout, Conversion conversion);

} // namespace tavixgst
