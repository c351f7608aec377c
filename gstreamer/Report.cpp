#include "gstreamer/Report.h"

#include <tavix/camera/Error.h>

#include <memory>
#include <string>

namespace tavixgst {
namespace {

gint CodeOf(const std::exception& problem) {
    if (dynamic_cast<const Tavix::Removed*>(&problem)) return GST_RESOURCE_ERROR_NOT_FOUND;
    if (dynamic_cast<const Tavix::Timeout*>(&problem)) return GST_RESOURCE_ERROR_READ;
    const auto* error = dynamic_cast<const Tavix::Error*>(&problem);
    if (error && !error->FeatureName().empty()) return GST_RESOURCE_ERROR_SETTINGS;
    if (dynamic_cast<const Tavix::ValueError*>(&problem)) return GST_RESOURCE_ERROR_SETTINGS;
    if (dynamic_cast<const Tavix::NotFound*>(&problem)) return GST_RESOURCE_ERROR_NOT_FOUND;
    if (dynamic_cast<const Tavix::AccessError*>(&problem)) return GST_RESOURCE_ERROR_BUSY;
    return GST_RESOURCE_ERROR_FAILED;
}

std::string TextOf(const std::exception& problem) {
    const bool isLoss = dynamic_cast<const Tavix::Removed*>(&problem) != nullptr;
    return problem.what() +
           std::string(isLoss ? "; plug it in and start the pipeline again; one that runs waits with reconnect=true"
                              : "");
}

void Post(GstElement& element, GstMessageType type, const std::exception& problem) {
    gst_element_message_full(&element, type, GST_RESOURCE_ERROR, CodeOf(problem), g_strdup(TextOf(problem).c_str()),
                             nullptr, __FILE__, "tavixsrc", __LINE__);
}

} // namespace

void PostError(GstElement& element, const std::exception& problem) {
    Post(element, GST_MESSAGE_ERROR, problem);
}

void PostWarning(GstElement& element, const std::exception& problem) {
    Post(element, GST_MESSAGE_WARNING, problem);
}

std::string TextOf(const GstCaps& caps) {
    const std::unique_ptr<gchar, decltype(&g_free)> text(gst_caps_to_string(&caps), &g_free);
    return text.get();
}

} // namespace tavixgst
