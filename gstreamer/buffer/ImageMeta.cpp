#include "gstreamer/buffer/ImageMeta.h"

#include <string>
#include <variant>

namespace tavixgst {
namespace {

struct Setter {
    GValue& target;
    void operator()(std::int64_t value) const {
        g_value_init(&target, G_TYPE_INT64);
        g_value_set_int64(&target, value);
    }
    void operator()(double value) const {
        g_value_init(&target, G_TYPE_DOUBLE);
        g_value_set_double(&target, value);
    }
    void operator()(bool value) const {
        g_value_init(&target, G_TYPE_BOOLEAN);
        g_value_set_boolean(&target, value);
    }
    void operator()(const std::string& value) const {
        g_value_init(&target, G_TYPE_STRING);
        g_value_set_string(&target, value.c_str());
    }
};

/// What every image has, looked up once.
struct ImageFields {
    const GstMetaInfo* const meta = gst_meta_get_info(kImageMeta);
    const GQuark blockId = g_quark_from_static_string("block-id");
    const GQuark cameraTime = g_quark_from_static_string("camera-time");
    const GQuark bound = g_quark_from_static_string("host-time-bound");
    const GQuark missed = g_quark_from_static_string("missed-before");
};

// Without their prefix, as the guide calls them.
std::string ShortName(const std::string& chunk) {
    constexpr char kPrefix[] = "Chunk";
    constexpr std::size_t kLength = sizeof kPrefix - 1;
    return chunk.compare(0, kLength, kPrefix) == 0 ? chunk.substr(kLength) : chunk;
}

void AddChunks(GstStructure& fields, const Tavix::Image& image) {
    if (image.Payload().size == image.Data().size) return; // nothing but pixels, and looking for more costs time
    const std::vector<std::string> names = image.ChunkNames();
    if (names.empty()) return;
    GstStructure* chunks = gst_structure_new_empty("chunks");
    for (const std::string& name : names) {
        GValue value = G_VALUE_INIT;
        SetValue(value, image.Chunk(name));
        gst_structure_take_value(chunks, ShortName(name).c_str(), &value);
    }
    gst_structure_set(&fields, "chunks", GST_TYPE_STRUCTURE, chunks, nullptr);
    gst_structure_free(chunks);
}

} // namespace

void SetValue(GValue& target, const Tavix::Value& value) {
    std::visit(Setter{target}, value.Get());
}

void RegisterMeta() {
    static const char* kTags[] = {nullptr};
    if (gst_meta_get_info(kImageMeta) == nullptr)
        gst_meta_register_custom(kImageMeta, kTags, nullptr, nullptr, nullptr);
}

void AttachMeta(GstBuffer& buffer, const Tavix::Image& image) {
    static const ImageFields names;
    GstMeta* meta = gst_buffer_add_meta(&buffer, names.meta, nullptr);
    GstStructure* fields = gst_custom_meta_get_structure(reinterpret_cast<GstCustomMeta*>(meta));
    gst_structure_id_set(fields, names.blockId, G_TYPE_UINT64, image.BlockId(), names.cameraTime, G_TYPE_UINT64,
                         image.CameraTime(), names.bound, G_TYPE_INT64, static_cast<gint64>(image.Time().bound.count()),
                         names.missed, G_TYPE_UINT64, image.MissedBefore(), nullptr);
    AddChunks(*fields, image);
}

GstStructure* NewImageStructure(const GstBuffer& buffer) {
    GstCustomMeta* meta = gst_buffer_get_custom_meta(const_cast<GstBuffer*>(&buffer), kImageMeta);
    GstStructure* message = gst_structure_copy(gst_custom_meta_get_structure(meta));
    gst_structure_set_name(message, kImageMessage);
    gst_structure_set(message, "timestamp", G_TYPE_UINT64, GST_BUFFER_PTS(&buffer), nullptr);
    return message;
}

GstStructure* NewEventStructure(const Tavix::CameraEvent& event) {
    GstStructure* values = gst_structure_new_empty("values");
    for (const auto& [name, content] : event.values) {
        GValue value = G_VALUE_INIT;
        SetValue(value, content);
        gst_structure_take_value(values, name.c_str(), &value);
    }
    GstStructure* message = gst_structure_new(kEventMessage, "event", G_TYPE_STRING, event.name.c_str(), "values",
                                              GST_TYPE_STRUCTURE, values, nullptr);
    gst_structure_free(values);
    return message;
}

} // namespace tavixgst
