// The action signals of `tavixsrc`.
#include "gstreamer/Report.h"
#include "gstreamer/element/Element.h"
#include "gstreamer/source/Source.h"

#include <tavix/camera/Error.h>

#include <string>
#include <vector>

namespace tavixgst {
namespace {

/// An exception becomes a warning on the bus.
template<class Call>
bool Succeeds(GstElement* element, Call call) noexcept {
    try {
        call();
        return true;
    } catch (const std::exception& problem) {
        PostWarning(*element, problem);
    }
    return false;
}

gboolean Trigger(GstElement* element) {
    return Succeeds(element, [&] { SourceOf(element).Trigger(); });
}

/// Never null, which bindings do not expect: what cannot be read is a string without text.
GValue* GetFeature(GstElement* element, const gchar* name) {
    GValue value = G_VALUE_INIT;
    if (!Succeeds(element, [&] { SourceOf(element).Read(name ? name : "", value); }))
        g_value_init(&value, G_TYPE_STRING);
    GValue* copy = g_new0(GValue, 1);
    *copy = value;
    return copy;
}

gboolean SetFeature(GstElement* element, const gchar* name, const GValue* value) {
    return Succeeds(element, [&] {
        const std::string feature = name ? name : "";
        if (!G_IS_VALUE(value))
            throw Tavix::ValueError("set-feature needs a value for '" + feature + "': a number, a boolean or a string",
                                    feature);
        SourceOf(element).Write(feature, *value);
    });
}

gchar** ListFeatures(GstElement* element) {
    std::vector<std::string> names;
    Succeeds(element, [&] { names = SourceOf(element).FeatureNames(); });
    gchar** list = g_new0(gchar*, names.size() + 1);
    for (std::size_t i = 0; i < names.size(); ++i)
        list[i] = g_strdup(names[i].c_str());
    return list;
}

} // namespace

void InstallActions(GObjectClass& klass) {
    const GType type = G_TYPE_FROM_CLASS(&klass);
    const auto flags = static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION);
    g_signal_new_class_handler("trigger", type, flags, G_CALLBACK(Trigger), nullptr, nullptr, nullptr, G_TYPE_BOOLEAN,
                               0);
    g_signal_new_class_handler("get-feature", type, flags, G_CALLBACK(GetFeature), nullptr, nullptr, nullptr,
                               G_TYPE_VALUE, 1, G_TYPE_STRING);
    g_signal_new_class_handler("set-feature", type, flags, G_CALLBACK(SetFeature), nullptr, nullptr, nullptr,
                               G_TYPE_BOOLEAN, 2, G_TYPE_STRING, G_TYPE_VALUE);
    g_signal_new_class_handler("list-features", type, flags, G_CALLBACK(ListFeatures), nullptr, nullptr, nullptr,
                               G_TYPE_STRV, 0);
}

} // namespace tavixgst
