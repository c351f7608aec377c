#pragma once
// Pixel formats that cameras and pipelines both know.

#include <tavix/imaging/PixelFormat.h>

#include <gst/gst.h>

#include <cstddef>

namespace tavixgst {

/// A row of the table: the same bytes, as the camera and as caps call them. Constant.
struct CapsFormat {
    Tavix::imaging::PixelFormat camera;
    const char* media;       ///< "video/x-raw" or "video/x-bayer"
    const char* name;        ///< the caps' `format`
    const char* colorimetry; ///< null where caps say nothing about it

    bool IsRaw() const;
    /// As GStreamer lays out lines when nothing else is told: they begin at multiples of four bytes.
    std::size_t Stride(std::size_t width) const;
};

/// Null for what GStreamer has no name for.
const CapsFormat* FindFormat(Tavix::imaging::PixelFormat camera);
/// Whether the bytes of an image of the camera are those that a pipeline takes for the other format.
bool IsSame(Tavix::imaging::PixelFormat camera, const CapsFormat& format);
/// Whether these caps mean that format.
bool IsMeant(const CapsFormat& format, const GstStructure& caps);
/// All that any camera could send. Owned by the caller.
GstCaps* TemplateCaps();

} // namespace tavixgst
