// The properties of `tavixsrc`.
#include "gstreamer/Report.h"
#include "gstreamer/element/Element.h"
#include "gstreamer/source/Source.h"

namespace tavixgst {
namespace {

enum Property : guint {
    kCamera = 1,
    kFeatures,
    kEvents,
    kTimeout,
    kReconnect,
    kConvert,
    kDemosaicing,
    kBuffers,
    kKeepBudget,
    kMemoryLimit,
    kNewestOnly,
    kTransferSize,
    kThreadPriority,
    kPostMessages,
    kStats
};

constexpr auto kFixedWhileOpen =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);
constexpr auto kAtAnyTime =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

constexpr guint kHighestPriority = 99;

GType DemosaicingType() {
    using Tavix::imaging::Demosaicing;
    static const GEnumValue values[] = {
        {static_cast<gint>(Demosaicing::Bilinear), "The mean of the neighbours that have the colour", "bilinear"},
        {static_cast<gint>(Demosaicing::EdgeAware), "Along edges rather than across them, which takes longer",
         "edge-aware"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("GstTavixDemosaicing", values);
    return type;
}

void Assign(Options& options, guint id, const GValue& value) {
    const auto text = [&] { return g_value_get_string(&value) ? g_value_get_string(&value) : ""; };
    switch (id) {
    case kCamera:
        options.camera = text();
        break;
    case kEvents:
        options.events = text();
        break;
    case kTimeout:
        options.timeout = g_value_get_uint64(&value);
        break;
    case kReconnect:
        options.reconnect = g_value_get_boolean(&value) != FALSE;
        break;
    case kConvert:
        options.convert = g_value_get_boolean(&value) != FALSE;
        break;
    case kDemosaicing:
        options.demosaicing = static_cast<Tavix::imaging::Demosaicing>(g_value_get_enum(&value));
        break;
    case kBuffers:
        options.buffers = g_value_get_uint(&value);
        break;
    case kMemoryLimit:
        options.memoryLimit = g_value_get_uint64(&value);
        break;
    case kKeepBudget:
        options.keepBudget = g_value_get_uint64(&value);
        break;
    case kNewestOnly:
        options.newestOnly = g_value_get_boolean(&value) != FALSE;
        break;
    case kTransferSize:
        options.transferSize = g_value_get_uint(&value);
        break;
    case kThreadPriority:
        options.threadPriority = g_value_get_uint(&value);
        break;
    case kPostMessages:
        options.postMessages = g_value_get_boolean(&value) != FALSE;
        break;
    default:
        break;
    }
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec*) {
    Source& source = SourceOf(object);
    try {
        if (id == kFeatures) {
            const gchar* text = g_value_get_string(value);
            return source.SetFeatures(text ? text : "");
        }
        Options options = *source.Options();
        Assign(options, id, *value);
        source.Change(options);
    } catch (const std::exception& problem) {
        PostWarning(*GST_ELEMENT(object), problem);
    }
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    const auto shared = SourceOf(object).Options();
    const Options& options = *shared;
    switch (id) {
    case kCamera:
        g_value_set_string(value, options.camera.c_str());
        break;
    case kFeatures:
        g_value_set_string(value, options.features.c_str());
        break;
    case kEvents:
        g_value_set_string(value, options.events.c_str());
        break;
    case kTimeout:
        g_value_set_uint64(value, options.timeout);
        break;
    case kReconnect:
        g_value_set_boolean(value, options.reconnect);
        break;
    case kConvert:
        g_value_set_boolean(value, options.convert);
        break;
    case kDemosaicing:
        g_value_set_enum(value, static_cast<gint>(options.demosaicing));
        break;
    case kBuffers:
        g_value_set_uint(value, options.buffers);
        break;
    case kMemoryLimit:
        g_value_set_uint64(value, options.memoryLimit);
        break;
    case kKeepBudget:
        g_value_set_uint64(value, options.keepBudget);
        break;
    case kNewestOnly:
        g_value_set_boolean(value, options.newestOnly);
        break;
    case kTransferSize:
        g_value_set_uint(value, options.transferSize);
        break;
    case kThreadPriority:
        g_value_set_uint(value, options.threadPriority);
        break;
    case kPostMessages:
        g_value_set_boolean(value, options.postMessages);
        break;
    case kStats:
        g_value_take_boxed(value, SourceOf(object).Stats());
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void InstallTexts(GObjectClass& klass) {
    g_object_class_install_property(
        &klass, kCamera,
        g_param_spec_string("camera", "Camera",
                            "Which camera: its number, serial number, GUID, user-defined name, model or path. "
                            "Empty: the first one",
                            "", kFixedWhileOpen));
    g_object_class_install_property(
        &klass, kFeatures,
        g_param_spec_string("features", "Features",
                            "Features to set in this order, and commands to execute, such as \"ExposureTime=5000 "
                            "Gain=3 UserSetLoad\". At once while the camera is open",
                            "", kAtAnyTime));
    g_object_class_install_property(
        &klass, kEvents,
        g_param_spec_string("events", "Events",
                            "Events of the camera to post as element message tavix-event, such as \"ExposureEnd "
                            "FrameStart\"",
                            "", kFixedWhileOpen));
}

void InstallStream(GObjectClass& klass) {
    const Options standard;
    g_object_class_install_property(
        &klass, kTimeout,
        g_param_spec_uint64("timeout", "Timeout",
                            "Longest time in nanoseconds without an image before it is an error. 0: any", 0, G_MAXINT64,
                            standard.timeout, kAtAnyTime));
    g_object_class_install_property(
        &klass, kReconnect,
        g_param_spec_boolean("reconnect", "Reconnect",
                             "Wait for a camera that was unplugged, and go on when it is back, set up as before",
                             standard.reconnect, kFixedWhileOpen));
    g_object_class_install_property(&klass, kBuffers,
                                    g_param_spec_uint("buffers", "Buffers", "Images that may wait for the pipeline", 2,
                                                      1024, standard.buffers, kFixedWhileOpen));
    g_object_class_install_property(
        &klass, kKeepBudget,
        g_param_spec_uint64("keep-budget", "Keep budget",
                            "Further memory in bytes for images that the pipeline holds. When it is spent, images are "
                            "lost until one comes back, and the message tavix-starved is posted",
                            0, G_MAXUINT64, standard.keepBudget, kFixedWhileOpen));
    g_object_class_install_property(
        &klass, kMemoryLimit,
        g_param_spec_uint64("memory-limit", "Memory limit",
                            "Most bytes that the buffers may take together. A stream that needs more is refused; fewer "
                            "buffers need less",
                            0, G_MAXUINT64, standard.memoryLimit, kFixedWhileOpen));
    g_object_class_install_property(&klass, kNewestOnly,
                                    g_param_spec_boolean("newest-only", "Newest only",
                                                         "Drop images that wait behind a newer one",
                                                         standard.newestOnly, kFixedWhileOpen));
    g_object_class_install_property(
        &klass, kTransferSize,
        g_param_spec_uint("transfer-size", "Transfer size",
                          "Largest USB transfer in bytes, for hosts or cameras that need smaller ones. 0: as it fits",
                          0, G_MAXUINT, standard.transferSize, kFixedWhileOpen));
}

void InstallThread(GObjectClass& klass) {
    g_object_class_install_property(
        &klass, kThreadPriority,
        g_param_spec_uint("thread-priority", "Thread priority",
                          "Real-time priority of the thread that takes the transfers, so that a busy computer does not "
                          "keep it from them; where the system does not permit it (ulimit -r), the log says so. 0: as "
                          "all other threads",
                          0, kHighestPriority, Options().threadPriority, kFixedWhileOpen));
}

void InstallRest(GObjectClass& klass) {
    const Options standard;
    g_object_class_install_property(
        &klass, kConvert,
        g_param_spec_boolean("convert", "Convert",
                             "Offer formats that the camera lacks as well, and convert on the host what GStreamer "
                             "has no name for, such as Mono12p or BayerRG10p",
                             standard.convert, kFixedWhileOpen));
    g_object_class_install_property(
        &klass, kDemosaicing,
        g_param_spec_enum("demosaicing", "Demosaicing",
                          "How colours that a pixel of a Bayer image lacks are found where convert has it converted",
                          DemosaicingType(), static_cast<gint>(standard.demosaicing), kAtAnyTime));
    g_object_class_install_property(
        &klass, kPostMessages,
        g_param_spec_boolean("post-messages", "Post messages",
                             "Post the element message tavix-image for each image, with block id and chunk values",
                             standard.postMessages, kAtAnyTime));
    g_object_class_install_property(
        &klass, kStats,
        g_param_spec_boxed("stats", "Statistics",
                           "What became of the images: delivered, dropped, failed, missed, starved, reconnects; "
                           "buffers and memory in use; copied: bytes of pixels that were copied or converted",
                           GST_TYPE_STRUCTURE, static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
}

} // namespace

void InstallProperties(GObjectClass& klass) {
    klass.set_property = SetProperty;
    klass.get_property = GetProperty;
    InstallTexts(klass);
    InstallStream(klass);
    InstallThread(klass);
    InstallRest(klass);
}

} // namespace tavixgst
