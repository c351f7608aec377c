#include "gstreamer/buffer/ImageMeta.h"
#include "gstreamer/source/Source.h"

#include <tavix/imaging/Convert.h>

#include <algorithm>
#include <utility>

namespace tavixgst {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// The longest time for which nobody looks whether caps are to be negotiated anew.
constexpr milliseconds kGlance{100};

BufferPtr Allocate(GstBaseSrc& element, gsize bytes, GstFlowReturn& result) {
    GstBuffer* buffer = nullptr;
    result = GST_BASE_SRC_GET_CLASS(&element)->alloc(&element, /*offset=*/0, static_cast<guint>(bytes), &buffer);
    return result == GST_FLOW_OK ? BufferPtr(buffer) : nullptr;
}

milliseconds TimeoutOf(const Options& options) {
    if (options.timeout == 0) return kGlance;
    return std::clamp(milliseconds(options.timeout / GST_MSECOND), milliseconds(1), kGlance);
}

} // namespace

GstFlowReturn Source::Create(GstBuffer** buffer) {
    const auto camera = Opened();
    Tavix::Image image;
    for (bool isFound = false; !isFound;) {
        if (const GstFlowReturn result = NextImage(*camera, image); result != GST_FLOW_OK) return result;
        isFound = !IsToNegotiate() && Fits(image);
        if (isFound) break;
        if (const GstFlowReturn result = Renegotiate(); result != GST_FLOW_OK) return result;
        isFound = Fits(image);
        if (!isFound && !m_HasMoved)
            throw Tavix::Error("the images, " + std::to_string(image.Width()) + " x " + std::to_string(image.Height()) +
                               " of " + image.PixelFormat() + ", are not what the camera is set to");
        m_HasBreak = m_HasBreak || !isFound;
    }
    TellStarvation();
    *buffer = BufferOf(std::move(image)).release();
    return *buffer ? GST_FLOW_OK : GST_FLOW_FLUSHING;
}

/// The size and the format, where that is not to be converted.
bool Source::Fits(const Tavix::Image& image) const {
    if (image.Width() != m_Layout.width || image.Height() != m_Layout.height) return false;
    const auto format = static_cast<Tavix::imaging::PixelFormat>(image.PixelFormatCode());
    return IsSame(format, *m_Layout.format) ||
           (m_Conversion == Conversion::WhereNeeded && Tavix::imaging::IsConvertible(format, m_Layout.format->camera));
}

bool Source::IsToNegotiate() const {
    return GST_PAD_NEEDS_RECONFIGURE(GST_BASE_SRC_PAD(&m_Element));
}

GstFlowReturn Source::Renegotiate() {
    m_HasMoved = false;
    if (gst_base_src_negotiate(&m_Element)) return GST_FLOW_OK;
    return m_Flow.IsInterrupted() ? GST_FLOW_FLUSHING : GST_FLOW_NOT_NEGOTIATED;
}

GstFlowReturn Source::NextImage(Tavix::Camera& camera, Tavix::Image& image) {
    const auto options = Options();
    m_LastImage = Clock::now();
    while (!m_Flow.IsInterrupted()) {
        m_Flow.NoticePauses();
        if (IsToNegotiate()) {
            if (const GstFlowReturn result = Renegotiate(); result != GST_FLOW_OK) return result;
        }
        const bool isStarting = !m_Flow.IsRunning();
        image = m_Flow.Next(camera, *options, milliseconds(0));
        m_IsFresh = !image;
        if (m_IsFresh) image = m_Flow.Next(camera, *options, TimeoutOf(*options));
        if (image) return GST_FLOW_OK;
        if (isStarting) m_LastImage = Clock::now(); // to start the camera takes its time
        TellStarvation();
        CheckSilence(*options);
    }
    m_Flow.Stop();
    return GST_FLOW_FLUSHING;
}

void Source::CheckSilence(const tavixgst::Options& options) {
    const auto silence = Clock::now() - m_LastImage;
    if (m_IsAway) m_LastImage = Clock::now();
    if (options.timeout == 0 || m_IsAway || silence < std::chrono::nanoseconds(options.timeout)) return;
    throw Tavix::Timeout("no image came for " + std::to_string(options.timeout / GST_MSECOND) + " ms; " +
                         m_Flow.WhySilent());
}

void Source::TellStarvation() {
    const std::uint64_t starved = m_Flow.Counts().starved;
    if (starved > m_Starved) {
        Post(gst_structure_new("tavix-starved", "keep-budget", G_TYPE_UINT64, Options()->keepBudget, nullptr));
    }
    m_Starved = starved;
}

BufferPtr Source::BufferOf(Tavix::Image image) {
    const bool isByArrival = gst_base_src_get_do_timestamp(&m_Element) != FALSE;
    const GstClockTime stamp = m_Time.StampOf(Element(), isByArrival ? image.Arrival() : image.Time().monotonic);
    const std::uint64_t missed = image.MissedBefore();
    const bool hasGap = missed != 0 || image.GapBefore().count() != 0 || m_HasBreak;
    m_HasBreak = false;
    if (m_IsFresh && m_Time.HasGrown(image))
        gst_element_post_message(&Element(), gst_message_new_latency(GST_OBJECT(&m_Element)));
    GstFlowReturn result = GST_FLOW_OK;
    m_Maker.SetDemosaicing(Options()->demosaicing);
    BufferPtr buffer =
        m_Maker.Make(std::move(image), m_Layout, [&](gsize bytes) { return Allocate(m_Element, bytes, result); });
    if (result == GST_FLOW_FLUSHING) return nullptr;
    if (!buffer) throw Tavix::Error("there is no memory for an image of " + std::to_string(m_Layout.size) + " bytes");
    GST_BUFFER_PTS(buffer.get()) = stamp;
    if (isByArrival) GST_BUFFER_DTS(buffer.get()) = stamp; // else the base class sets its own, a moment later
    if (m_Layout.Duration() != 0) GST_BUFFER_DURATION(buffer.get()) = m_Layout.Duration();
    m_Offset += missed;
    GST_BUFFER_OFFSET(buffer.get()) = m_Offset++;
    GST_BUFFER_OFFSET_END(buffer.get()) = m_Offset;
    if (hasGap) GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DISCONT);
    if (missed != 0) TellMissed(*buffer);
    if (Options()->postMessages) Post(NewImageStructure(*buffer));
    return buffer;
}

/// So many images are between the one before and this one that the pipeline never gets.
void Source::TellMissed(const GstBuffer& buffer) {
    const GstClockTime time = GST_BUFFER_PTS(&buffer);
    GstMessage* message =
        gst_message_new_qos(GST_OBJECT(&m_Element), /*live=*/TRUE, time, time, time, GST_BUFFER_DURATION(&buffer));
    const Tavix::GrabCounts counts = m_Flow.Counts();
    gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, counts.delivered,
                              counts.missed + counts.failed + counts.dropped);
    gst_element_post_message(&Element(), message);
}

} // namespace tavixgst
