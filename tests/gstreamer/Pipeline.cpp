#include "gstreamer/Pipeline.h"

#include <stdexcept>

namespace gsttest {
namespace {

constexpr GstClockTime kLong = 20 * GST_SECOND;

GstElement* Parse(const std::string& description) {
    gst_init(nullptr, nullptr);
    GError* problem = nullptr;
    GstElement* pipeline = gst_parse_launch(description.c_str(), &problem);
    if (problem == nullptr) return pipeline;
    const std::string text = problem->message;
    g_error_free(problem);
    if (pipeline) gst_object_unref(pipeline);
    throw std::runtime_error(text);
}

std::string TextOf(const Handle<GstMessage>& message) {
    if (!message) return {};
    GError* problem = nullptr;
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR)
        gst_message_parse_error(message.get(), &problem, nullptr);
    else
        gst_message_parse_warning(message.get(), &problem, nullptr);
    const std::string text = problem->message;
    g_error_free(problem);
    return text;
}

} // namespace

Pipeline::Pipeline(const std::string& description)
    : m_Pipeline(Parse(description)), m_Sink(gst_bin_get_by_name(GST_BIN(m_Pipeline.get()), "sink")) {}

Pipeline::~Pipeline() {
    gst_element_set_state(m_Pipeline.get(), GST_STATE_NULL);
}

Handle<GstElement> Pipeline::Find(const char* name) const {
    return Handle<GstElement>(gst_bin_get_by_name(GST_BIN(m_Pipeline.get()), name));
}

bool Pipeline::Reach(GstState state) {
    if (gst_element_set_state(m_Pipeline.get(), state) == GST_STATE_CHANGE_FAILURE) return false;
    return gst_element_get_state(m_Pipeline.get(), nullptr, nullptr, kLong) != GST_STATE_CHANGE_FAILURE;
}

Handle<GstMessage> Pipeline::Await(int types) {
    GstBus* bus = gst_element_get_bus(m_Pipeline.get());
    GstMessage* message = gst_bus_timed_pop_filtered(bus, kLong, static_cast<GstMessageType>(types));
    gst_object_unref(bus);
    return Handle<GstMessage>(message);
}

Handle<GstMessage> Pipeline::AwaitElementMessage(const char* name) {
    while (Handle<GstMessage> message = Await(GST_MESSAGE_ELEMENT | GST_MESSAGE_ERROR)) {
        if (gst_message_has_name(message.get(), name)) return message;
        if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) break;
    }
    return nullptr;
}

std::string Pipeline::AwaitError() {
    return TextOf(Await(GST_MESSAGE_ERROR));
}

std::string Pipeline::AwaitWarning() {
    return TextOf(Await(GST_MESSAGE_WARNING));
}

bool Pipeline::AwaitEnd() {
    const Handle<GstMessage> message = Await(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
    return message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS;
}

Handle<GstSample> Pipeline::Pull() {
    return Handle<GstSample>(gst_app_sink_try_pull_sample(GST_APP_SINK(m_Sink.get()), kLong));
}

guint64 Pipeline::Stat(const char* name) const {
    GstStructure* stats = nullptr;
    g_object_get(Find("src").get(), "stats", &stats, nullptr);
    return Unsigned(Handle<GstStructure>(stats).get(), name);
}

std::string CapsOf(GstSample* sample) {
    gchar* text = gst_caps_to_string(gst_sample_get_caps(sample));
    std::string caps = text;
    g_free(text);
    for (const char* type : {"(string)", "(int)", "(fraction)", " "}) {
        for (std::size_t at; (at = caps.find(type)) != std::string::npos;)
            caps.erase(at, std::string(type).size());
    }
    return caps;
}

gint WidthOf(GstSample* sample) {
    gint width = 0;
    gst_structure_get_int(gst_caps_get_structure(gst_sample_get_caps(sample), 0), "width", &width);
    return width;
}

const GstStructure* FactsOf(GstSample* sample) {
    GstCustomMeta* meta = gst_buffer_get_custom_meta(gst_sample_get_buffer(sample), "TavixImageMeta");
    return meta ? gst_custom_meta_get_structure(meta) : nullptr;
}

guint64 Unsigned(const GstStructure* structure, const char* field) {
    guint64 value = 0;
    gst_structure_get_uint64(structure, field, &value);
    return value;
}

} // namespace gsttest
