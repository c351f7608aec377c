#include "gstreamer/element/Element.h"

#include "gstreamer/Report.h"
#include "gstreamer/buffer/ImageMeta.h"
#include "gstreamer/caps/CapsFormat.h"
#include "gstreamer/source/Source.h"

#include <tavix/camera/Error.h>

#include <memory>
#include <string>

GST_DEBUG_CATEGORY_STATIC(tavixsrc_debug);
#define GST_CAT_DEFAULT tavixsrc_debug

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // in GObject's macro
G_DEFINE_TYPE_WITH_CODE(GstTavixSrc, gst_tavix_src, GST_TYPE_PUSH_SRC,
                        GST_DEBUG_CATEGORY_INIT(tavixsrc_debug, "tavixsrc", 0, "USB3 Vision camera source"))
#pragma GCC diagnostic pop

namespace tavixgst {

Source& SourceOf(gpointer element) {
    return *static_cast<GstTavixSrc*>(element)->source;
}

namespace {

/// Once the camera has gone everything fails, each in a way of its own; the loss is what to tell, and once.
void PostFailure(gpointer element, const std::exception& problem) {
    Source& source = SourceOf(element);
    const auto* loss = dynamic_cast<const Tavix::Removed*>(&problem);
    const bool isSilence = dynamic_cast<const Tavix::Timeout*>(&problem) != nullptr;
    if (!loss && (isSilence || !source.IsFoundGone())) return PostError(*GST_ELEMENT(element), problem);
    source.AwaitNotice();
    if (source.IsFirstToTellLoss()) PostError(*GST_ELEMENT(element), loss ? *loss : Tavix::Removed(kUnplugged));
}

/// Calls what may throw; an exception becomes an error on the bus, and the value for failure is returned.
template<class Result, class Call>
Result Guarded(gpointer element, Result failure, Call call) noexcept {
    try {
        return call();
    } catch (const std::exception& problem) {
        PostFailure(element, problem);
    }
    return failure;
}

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange change) {
    GST_LOG_OBJECT(element, "state change %s", gst_state_change_get_name(change));
    Source& source = SourceOf(element);
    if (change == GST_STATE_CHANGE_NULL_TO_READY && !Guarded(element, false, [&] { return source.Open(), true; }))
        return GST_STATE_CHANGE_FAILURE;
    if (change == GST_STATE_CHANGE_READY_TO_PAUSED && !Guarded(element, false, [&] { return source.Reopen(), true; }))
        return GST_STATE_CHANGE_FAILURE;
    const GstStateChangeReturn result = GST_ELEMENT_CLASS(gst_tavix_src_parent_class)->change_state(element, change);
    if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED) source.StopStream(); // what it sends now would be old later
    if (change == GST_STATE_CHANGE_READY_TO_NULL || result == GST_STATE_CHANGE_FAILURE) source.Close();
    return result;
}

GstCaps* GetCaps(GstBaseSrc* element, GstCaps* filter) {
    CapsPtr caps = Guarded(element, CapsPtr(), [&] { return SourceOf(element).Caps(); });
    if (!caps) caps.reset(gst_pad_get_pad_template_caps(GST_BASE_SRC_PAD(element)));
    return filter ? gst_caps_intersect_full(filter, caps.get(), GST_CAPS_INTERSECT_FIRST) : caps.release();
}

GstCaps* Fixate(GstBaseSrc* element, GstCaps* caps) {
    return Guarded(element, caps, [&] { return SourceOf(element).Fixate(caps); });
}

gboolean SetCaps(GstBaseSrc* element, GstCaps* caps) {
    GST_INFO_OBJECT(element, "caps %" GST_PTR_FORMAT, static_cast<void*>(caps));
    return Guarded(element, FALSE, [&] { return SourceOf(element).Negotiated(*caps), TRUE; });
}

/// GStreamer itself says only that nothing was agreed on.
void TellMisfit(GstBaseSrc* element) {
    const CapsPtr has(GetCaps(element, nullptr));
    const CapsPtr wanted(gst_pad_peer_query_caps(GST_BASE_SRC_PAD(element), nullptr));
    if (!wanted || gst_caps_is_empty(wanted.get()) || gst_caps_can_intersect(has.get(), wanted.get())) return;
    PostError(*GST_ELEMENT(element), Tavix::ValueError("the camera has no such images as the pipeline wants: " +
                                                       TextOf(*wanted) + "; it has " + TextOf(*has)));
}

gboolean Agree(GstBaseSrc* element) {
    return GST_BASE_SRC_CLASS(gst_tavix_src_parent_class)->negotiate(element);
}

/// Where the camera goes meanwhile, its limits are empty and no step need fail by itself.
gboolean Negotiate(GstBaseSrc* element) {
    const CapsPtr before(gst_pad_get_current_caps(GST_BASE_SRC_PAD(element)));
    Source& source = SourceOf(element);
    const auto takesBack = [&] { return Guarded(element, false, [&] { return source.TakeBack(); }); };
    const auto hasGone = [&] { return source.IsFoundGone(); };
    bool isAgreed = Agree(element) != FALSE;
    while (!isAgreed && !hasGone() && takesBack())
        isAgreed = Agree(element) != FALSE;
    if (isAgreed) {
        const CapsPtr now(gst_pad_get_current_caps(GST_BASE_SRC_PAD(element)));
        // The base class keeps quiet of caps that stay the same, while the camera may be set otherwise by now.
        return !before || !now || !gst_caps_is_equal(before.get(), now.get()) || SetCaps(element, now.get());
    }
    if (hasGone())
        PostFailure(element, Tavix::Removed(kUnplugged));
    else
        TellMisfit(element);
    return FALSE;
}

void RemovePools(GstQuery* query, gsize tooSmall) {
    for (guint i = gst_query_get_n_allocation_pools(query); i-- > 0;) {
        guint size = 0;
        gst_query_parse_nth_allocation_pool(query, i, nullptr, &size, nullptr, nullptr);
        if (size < tooSmall) gst_query_remove_nth_allocation_pool(query, i);
    }
}

/// Images bring their memory along; a pool is for what must be copied: that of others, or one of the element's own.
gboolean DecideAllocation(GstBaseSrc* element, GstQuery* query) {
    Source& source = SourceOf(element);
    source.SetKnowsVideoMeta(gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr));
    const gsize size = source.PooledBytes();
    RemovePools(query, size == 0 ? G_MAXSIZE : size);
    if (size != 0 && gst_query_get_n_allocation_pools(query) == 0) {
        GstBufferPool* pool = gst_buffer_pool_new();
        gst_query_add_allocation_pool(query, pool, static_cast<guint>(size), /*min_buffers=*/0, /*max_buffers=*/0);
        gst_object_unref(pool);
    }
    return GST_BASE_SRC_CLASS(gst_tavix_src_parent_class)->decide_allocation(element, query);
}

gboolean Query(GstBaseSrc* element, GstQuery* query) {
    if (GST_QUERY_TYPE(query) != GST_QUERY_LATENCY)
        return GST_BASE_SRC_CLASS(gst_tavix_src_parent_class)->query(element, query);
    const auto latency = SourceOf(element).Latency();
    gst_query_set_latency(query, /*live=*/TRUE, latency.least, latency.most);
    return TRUE;
}

gboolean Unlock(GstBaseSrc* element) {
    SourceOf(element).Interrupt();
    return TRUE;
}

gboolean UnlockStop(GstBaseSrc* element) {
    SourceOf(element).Resume();
    return TRUE;
}

gboolean Stop(GstBaseSrc* element) {
    SourceOf(element).Stop();
    return TRUE;
}

gboolean IsSeekable(GstBaseSrc*) {
    return FALSE;
}

GstFlowReturn Create(GstPushSrc* element, GstBuffer** buffer) {
    return Guarded(element, GST_FLOW_ERROR, [&] { return SourceOf(element).Create(buffer); });
}

void Finalize(GObject* object) {
    delete static_cast<GstTavixSrc*>(static_cast<void*>(object))->source;
    G_OBJECT_CLASS(gst_tavix_src_parent_class)->finalize(object);
}

} // namespace
} // namespace tavixgst

static void gst_tavix_src_class_init(GstTavixSrcClass* klass) {
    using namespace tavixgst;
    RegisterMeta();
    G_OBJECT_CLASS(klass)->finalize = Finalize;
    InstallProperties(*G_OBJECT_CLASS(klass));
    InstallActions(*G_OBJECT_CLASS(klass));

    GstElementClass* element = GST_ELEMENT_CLASS(klass);
    element->change_state = ChangeState;
    gst_element_class_set_static_metadata(element, "USB3 Vision camera source", "Source/Video/Device",
                                          "Images of USB3 Vision cameras, without a copy", "The Tavix project");
    GstCaps* caps = TemplateCaps();
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);

    GstBaseSrcClass* base = GST_BASE_SRC_CLASS(klass);
    base->get_caps = GetCaps;
    base->fixate = Fixate;
    base->set_caps = SetCaps;
    base->negotiate = Negotiate;
    base->decide_allocation = DecideAllocation;
    base->query = Query;
    base->unlock = Unlock;
    base->unlock_stop = UnlockStop;
    base->stop = Stop;
    base->is_seekable = IsSeekable;
    GST_PUSH_SRC_CLASS(klass)->create = Create;
}

static void gst_tavix_src_init(GstTavixSrc* self) {
    self->source = new tavixgst::Source(*GST_BASE_SRC(self));
    gst_base_src_set_live(GST_BASE_SRC(self), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(self), GST_FORMAT_TIME);
    gst_base_src_set_do_timestamp(GST_BASE_SRC(self), FALSE);
}
