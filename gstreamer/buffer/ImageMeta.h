#pragma once
// What the camera says of an image, as metadata of its buffer.

#include <tavix/camera/CameraEvent.h>
#include <tavix/camera/Image.h>
#include <tavix/camera/Value.h>

#include <gst/gst.h>

namespace tavixgst {

/// The name of the custom meta, and of the messages.
inline constexpr char kImageMeta[] = "TavixImageMeta";
inline constexpr char kImageMessage[] = "tavix-image";
inline constexpr char kEventMessage[] = "tavix-event";

/// Once for the process, before the first AttachMeta().
void RegisterMeta();
/// Fields: "block-id" and "camera-time" as guint64, "host-time-bound" as gint64, "missed-before" as guint64 and, where
/// the image came with chunk data, "chunks": a structure with a field for each value.
void AttachMeta(GstBuffer& buffer, const Tavix::Image& image);
/// The same fields and the buffer's "timestamp". Owned by the caller.
GstStructure* NewImageStructure(const GstBuffer& buffer);
/// Fields: "event", its name, and "values", a structure with a field for each of its values. Owned by the caller.
GstStructure* NewEventStructure(const Tavix::CameraEvent& event);
/// An empty GValue becomes one of the value's own type: gint64, gdouble, gboolean or a string.
void SetValue(GValue& target, const Tavix::Value& value);

} // namespace tavixgst
