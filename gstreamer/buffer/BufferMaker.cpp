#include "gstreamer/buffer/BufferMaker.h"

#include "gstreamer/buffer/ImageMemory.h"
#include "gstreamer/buffer/ImageMeta.h"

#include <tavix/camera/Error.h>

#include <algorithm>
#include <cstring>

namespace tavixgst {
namespace {

using Tavix::imaging::PictureSpan;

/// A buffer of the pipeline, mapped to be written.
class Writing {
public:
    Writing(GstBuffer& buffer, const Layout& layout) : m_Buffer(buffer), m_Layout(layout) {
        GstVideoInfo video = layout.video;
        const bool isMapped = layout.format->IsRaw() ? gst_video_frame_map(&m_Frame, &video, &buffer, GST_MAP_WRITE)
                                                     : gst_buffer_map(&buffer, &m_Map, GST_MAP_WRITE);
        if (!isMapped) throw Tavix::Error("memory of the pipeline cannot be written to");
    }
    ~Writing() {
        if (m_Layout.format->IsRaw())
            gst_video_frame_unmap(&m_Frame);
        else
            gst_buffer_unmap(&m_Buffer, &m_Map);
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    PictureSpan Span() {
        if (!m_Layout.format->IsRaw()) return {m_Map.data, m_Map.size, m_Layout.format->camera, m_Layout.stride};
        const auto stride = static_cast<gsize>(GST_VIDEO_FRAME_PLANE_STRIDE(&m_Frame, 0));
        return {static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&m_Frame, 0)), stride * m_Layout.height,
                m_Layout.format->camera, stride};
    }

private:
    GstBuffer& m_Buffer;
    const Layout& m_Layout;
    GstVideoFrame m_Frame{};
    GstMapInfo m_Map{};
};

bool IsSame(const Tavix::Image& image, const Layout& layout) {
    return IsSame(static_cast<Tavix::imaging::PixelFormat>(image.PixelFormatCode()), *layout.format);
}

void CopyLines(const Tavix::Image& image, const PictureSpan& target) {
    const Tavix::ByteView pixels = image.Data();
    const std::size_t stride = image.Stride(), line = std::min(stride, target.stride);
    for (std::size_t y = 0, offset = 0; y < image.Height() && offset < pixels.size; ++y, offset += stride)
        std::memcpy(target.data + y * target.stride, pixels.data + offset, std::min(line, pixels.size - offset));
}

} // namespace

BufferMaker::BufferMaker() : m_Allocator(NewImageAllocator()) {}

BufferMaker::~BufferMaker() {
    gst_object_unref(m_Allocator);
}

bool BufferMaker::IsAsItLies(const Tavix::Image& image, const Layout& layout) const {
    return IsSame(image, layout) && (image.Stride() == layout.stride || (m_KnowsVideoMeta && layout.format->IsRaw()));
}

void BufferMaker::Wrap(GstBuffer& buffer, Tavix::Image image, const Layout& layout) {
    const auto stride = static_cast<gint>(image.Stride());
    gst_buffer_append_memory(&buffer, WrapImage(m_Allocator, std::move(image)));
    if (!layout.format->IsRaw()) return;
    gsize offsets[GST_VIDEO_MAX_PLANES] = {0};
    gint strides[GST_VIDEO_MAX_PLANES] = {stride};
    gst_buffer_add_video_meta_full(&buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&layout.video),
                                   layout.width, layout.height, /*n_planes=*/1, offsets, strides);
}

void BufferMaker::Copy(GstBuffer& buffer, const Tavix::Image& image, const Layout& layout) {
    Writing writing(buffer, layout);
    if (IsSame(image, layout))
        CopyLines(image, writing.Span());
    else
        Tavix::imaging::Convert(image.Picture(), writing.Span(), {m_Demosaicing});
    m_CopiedBytes += layout.size;
}

BufferPtr BufferMaker::Make(Tavix::Image image, const Layout& layout, const Allocate& allocate) {
    const bool isWrapped = IsAsItLies(image, layout);
    BufferPtr buffer = isWrapped ? BufferPtr(gst_buffer_new()) : allocate(layout.size);
    if (!buffer) return nullptr;
    AttachMeta(*buffer, image);
    if (isWrapped)
        Wrap(*buffer, std::move(image), layout);
    else
        Copy(*buffer, image, layout);
    return buffer;
}

} // namespace tavixgst
