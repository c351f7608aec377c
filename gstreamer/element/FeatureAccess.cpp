#include "gstreamer/element/FeatureAccess.h"

#include "gstreamer/buffer/ImageMeta.h"

#include <memory>

namespace tavixgst {
namespace {

struct FreeWords {
    void operator()(gchar** words) const { g_strfreev(words); }
};

Assignment Parse(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == 0) throw Tavix::ValueError("'" + word + "' names no feature");
    if (equals == std::string::npos) return {word, {}, /*isCommand=*/true};
    return {word.substr(0, equals), word.substr(equals + 1), /*isCommand=*/false};
}

bool Transform(const GValue& value, GType type, GValue& target) {
    g_value_init(&target, type);
    return g_value_type_transformable(G_VALUE_TYPE(&value), type) && g_value_transform(&value, &target);
}

} // namespace

std::vector<std::string> ParseWords(const std::string& text) {
    if (text.find_first_not_of(" \t\n") == std::string::npos) return {};
    gint count = 0;
    gchar** raw = nullptr;
    GError* problem = nullptr;
    if (!g_shell_parse_argv(text.c_str(), &count, &raw, &problem)) {
        const std::string reason = problem->message;
        g_error_free(problem);
        throw Tavix::ValueError("the words \"" + text + "\" cannot be read: " + reason);
    }
    const std::unique_ptr<gchar*, FreeWords> words(raw);
    return {raw, raw + count};
}

std::vector<Assignment> ParseAssignments(const std::string& text) {
    std::vector<Assignment> assignments;
    for (const std::string& word : ParseWords(text))
        assignments.push_back(Parse(word));
    return assignments;
}

void Apply(Tavix::Camera& camera, const Assignment& assignment) {
    Tavix::Feature feature = camera[assignment.feature];
    if (assignment.isCommand) return feature.Execute();
    feature.SetText(assignment.value);
}

void ReadFeature(const Tavix::Camera& camera, const std::string& name, GValue& value) {
    SetValue(value, camera[name].Read());
}

void WriteFeature(Tavix::Camera& camera, const std::string& name, const GValue& value) {
    Tavix::Feature feature = camera[name];
    GValue plain = G_VALUE_INIT;
    if (G_VALUE_HOLDS_STRING(&value)) {
        const gchar* text = g_value_get_string(&value);
        feature.SetText(text ? text : "");
    } else if (G_VALUE_HOLDS_BOOLEAN(&value)) {
        feature.SetBool(g_value_get_boolean(&value) != FALSE);
    } else if (G_VALUE_HOLDS_DOUBLE(&value) || G_VALUE_HOLDS_FLOAT(&value)) {
        Transform(value, G_TYPE_DOUBLE, plain);
        feature.SetFloat(g_value_get_double(&plain));
    } else if (G_VALUE_HOLDS_UINT64(&value) || G_VALUE_HOLDS_ULONG(&value)) {
        Transform(value, G_TYPE_UINT64, plain);
        feature = static_cast<std::uint64_t>(g_value_get_uint64(&plain)); // which does not always fit
    } else if (Transform(value, G_TYPE_INT64, plain)) {
        feature.SetInt(g_value_get_int64(&plain));
    } else {
        throw Tavix::ValueError("'" + name + "' takes no value of the type " + G_VALUE_TYPE_NAME(&value), name);
    }
}

} // namespace tavixgst
