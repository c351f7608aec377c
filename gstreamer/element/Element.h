#pragma once
// The element `tavixsrc`: GObject's side of a Source.

#include <gst/base/gstpushsrc.h>

namespace tavixgst {
class Source;
}

struct GstTavixSrc {
    GstPushSrc parent;
    tavixgst::Source* source; // owned
};

struct GstTavixSrcClass {
    GstPushSrcClass parent;
};

GType gst_tavix_src_get_type();

namespace tavixgst {

Source& SourceOf(gpointer element);
/// For class_init, see ElementProperties.cpp and ElementActions.cpp.
void InstallProperties(GObjectClass& klass);
void InstallActions(GObjectClass& klass);

} // namespace tavixgst
