#pragma once
// GStreamer's references, given back at the end of their scope.

#include <gst/gst.h>

#include <memory>

namespace tavixgst {

struct Unref {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstClock* clock) const { gst_object_unref(clock); }
};
using CapsPtr = std::unique_ptr<GstCaps, Unref>;
using StructurePtr = std::unique_ptr<GstStructure, Unref>;
using BufferPtr = std::unique_ptr<GstBuffer, Unref>;
using ClockPtr = std::unique_ptr<GstClock, Unref>;

} // namespace tavixgst
