#pragma once
// Images as buffers of a pipeline.

#include "gstreamer/Handles.h"
#include "gstreamer/caps/CameraCaps.h"

#include <tavix/camera/Image.h>
#include <tavix/imaging/Convert.h>

#include <atomic>
#include <functional>

namespace tavixgst {

/// Hands on the memory of an image where the pipeline understands how it lies there, and copies or converts where it
/// does not. For the pipeline's thread, but for CopiedBytes().
class BufferMaker {
public:
    /// Gives a writable buffer of at least so many bytes, or null.
    using Allocate = std::function<BufferPtr(gsize bytes)>;

    BufferMaker();
    ~BufferMaker();
    BufferMaker(const BufferMaker&) = delete;
    BufferMaker& operator=(const BufferMaker&) = delete;

    /// Whether those downstream read GstVideoMeta.
    void SetKnowsVideoMeta(bool knows) { m_KnowsVideoMeta = knows; }
    /// How colours of Bayer images are found.
    void SetDemosaicing(Tavix::imaging::Demosaicing demosaicing) { m_Demosaicing = demosaicing; }
    /// With the camera's facts as metadata. Null where none is allocated. Throws Error where the image cannot be
    /// converted.
    BufferPtr Make(Tavix::Image image, const Layout& layout, const Allocate& allocate);
    /// Bytes of pixels that were written a second time, into memory of the pipeline.
    std::uint64_t CopiedBytes() const { return m_CopiedBytes; }

private:
    bool IsAsItLies(const Tavix::Image& image, const Layout& layout) const;
    void Wrap(GstBuffer& buffer, Tavix::Image image, const Layout& layout);
    void Copy(GstBuffer& buffer, const Tavix::Image& image, const Layout& layout);

    GstAllocator* const m_Allocator;
    bool m_KnowsVideoMeta = false;
    Tavix::imaging::Demosaicing m_Demosaicing = Tavix::imaging::Demosaicing::Bilinear;
    std::atomic<std::uint64_t> m_CopiedBytes{0};
};

} // namespace tavixgst
