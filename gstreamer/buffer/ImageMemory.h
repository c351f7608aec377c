#pragma once
// Images as memory of a pipeline.

#include <tavix/camera/Image.h>

#include <gst/gst.h>

namespace tavixgst {

/// Its memories are made of images and nothing else. Owned by the caller.
GstAllocator* NewImageAllocator();
/// The pixels of the image where they lie. The memory owns the image, which goes back to its stream with the last share
/// of the memory, on whatever thread lets that go. Owned by the caller.
GstMemory* WrapImage(GstAllocator* allocator, Tavix::Image image);

} // namespace tavixgst
