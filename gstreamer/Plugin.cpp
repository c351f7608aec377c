// The plug-in as GStreamer loads it.
#include "gstreamer/DeviceProvider.h"
#include "gstreamer/element/Element.h"

static gboolean PluginInit(GstPlugin* plugin) {
    return gst_element_register(plugin, "tavixsrc", GST_RANK_NONE, gst_tavix_src_get_type()) &&
           gst_device_provider_register(plugin, "tavixdeviceprovider", GST_RANK_PRIMARY,
                                        gst_tavix_device_provider_get_type());
}

#define PACKAGE "tavix"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, tavix, "USB3 Vision cameras", PluginInit, TAVIX_VERSION,
                  "Proprietary", "Tavix USB", "Unknown package origin")
