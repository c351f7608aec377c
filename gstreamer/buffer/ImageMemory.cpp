#include "gstreamer/buffer/ImageMemory.h"

#include <atomic>
#include <utility>

namespace tavixgst {
namespace {

constexpr char kMemoryType[] = "TavixImage";

/// A share of another memory has its bytes, and keeps it as its parent; its own image is empty.
struct ImageMemory {
    GstMemory base;
    std::uint8_t* data;
    Tavix::Image image;
};

/// Passed on by each thread that has had a memory: every addition acquires what all before it released. GStreamer's own
/// counters do the same, out of sight of the thread sanitizer.
std::atomic<unsigned int> baton{0};

ImageMemory& Received(GstMemory* memory) {
    baton.fetch_add(1, std::memory_order_acq_rel);
    return *reinterpret_cast<ImageMemory*>(memory);
}

GstMemory* NewMemory(GstAllocator* allocator, GstMemory* parent, std::uint8_t* data, gsize whole) {
    auto* memory = new ImageMemory{};
    memory->data = data;
    gst_memory_init(&memory->base, parent ? GST_MEMORY_FLAG_READONLY : GstMemoryFlags(0), allocator, parent, whole,
                    /*align=*/0, /*offset=*/0, whole);
    return &memory->base;
}

gpointer Map(GstMemory* memory, gsize, GstMapFlags) {
    return Received(memory).data;
}

void Unmap(GstMemory* memory) {
    Received(memory);
}

GstMemory* Share(GstMemory* memory, gssize offset, gssize size) {
    GstMemory* parent = memory->parent ? memory->parent : memory;
    GstMemory* share = NewMemory(memory->allocator, parent, Received(memory).data, memory->maxsize);
    share->offset = memory->offset + static_cast<gsize>(offset);
    share->size = size < 0 ? memory->size - static_cast<gsize>(offset) : static_cast<gsize>(size);
    return share;
}

} // namespace
} // namespace tavixgst

// GObject's own customs from here on: an allocator has its functions set when it is made.
struct GstTavixAllocator {
    GstAllocator parent;
};
struct GstTavixAllocatorClass {
    GstAllocatorClass parent;
};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // in GObject's macro
G_DEFINE_TYPE(GstTavixAllocator, gst_tavix_allocator, GST_TYPE_ALLOCATOR)
#pragma GCC diagnostic pop

static void gst_tavix_allocator_class_init(GstTavixAllocatorClass* klass) {
    GST_ALLOCATOR_CLASS(klass)->free = [](GstAllocator*, GstMemory* memory) { delete &tavixgst::Received(memory); };
}

static void gst_tavix_allocator_init(GstTavixAllocator* self) {
    GstAllocator* allocator = GST_ALLOCATOR(self);
    allocator->mem_type = tavixgst::kMemoryType;
    allocator->mem_map = tavixgst::Map;
    allocator->mem_unmap = tavixgst::Unmap;
    allocator->mem_share = tavixgst::Share;
    GST_OBJECT_FLAG_SET(allocator, GST_ALLOCATOR_FLAG_CUSTOM_ALLOC);
}

namespace tavixgst {

GstAllocator* NewImageAllocator() {
    return GST_ALLOCATOR(gst_object_ref_sink(g_object_new(gst_tavix_allocator_get_type(), nullptr)));
}

GstMemory* WrapImage(GstAllocator* allocator, Tavix::Image image) {
    const Tavix::ByteView pixels = image.Data();
    GstMemory* memory = NewMemory(allocator, nullptr, const_cast<std::uint8_t*>(pixels.data), pixels.size);
    reinterpret_cast<ImageMemory*>(memory)->image = std::move(image);
    Received(memory);
    return memory;
}

} // namespace tavixgst
