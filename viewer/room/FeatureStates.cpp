#include "viewer/room/FeatureStates.h"

#include "core/Printable.h"

#include <set>

#include <GenApi/GenApi.h>
#include <GenApi/Why.h>

namespace viewer {
namespace {

using namespace Tavix;

constexpr int kDeepestCategory = 16;

const char* NameOf(FeatureType type) {
    switch (type) {
    case FeatureType::Integer:
        return "integer";
    case FeatureType::Float:
        return "float";
    case FeatureType::Boolean:
        return "boolean";
    case FeatureType::Enumeration:
        return "enumeration";
    case FeatureType::Text:
        return "text";
    case FeatureType::Command:
        return "command";
    case FeatureType::Register:
        return "register";
    default:
        return "category";
    }
}

const char* NameOf(FeatureLevel level) {
    switch (level) {
    case FeatureLevel::Beginner:
        return "beginner";
    case FeatureLevel::Expert:
        return "expert";
    case FeatureLevel::Guru:
        return "guru";
    default:
        return "invisible";
    }
}

/// How the description wants a number to be shown: "", "logarithmic" or "hexadecimal".
std::string ShownAs(const Feature& feature) {
    GenApi::INode* const node = &feature.Node();
    GenApi::ERepresentation shown = GenApi::_UndefinedRepresentation;
    if (auto* const integer = dynamic_cast<GenApi::IInteger*>(node)) shown = integer->GetRepresentation();
    if (auto* const number = dynamic_cast<GenApi::IFloat*>(node)) shown = number->GetRepresentation();
    if (shown == GenApi::Logarithmic) return "logarithmic";
    return shown == GenApi::HexNumber || shown == GenApi::MACAddress ? "hexadecimal" : "";
}

Json Describe(const Feature& feature) {
    Json json{{"title", Printable(feature.DisplayName())},
              {"tip", Printable(feature.Description())},
              {"type", NameOf(feature.Type())},
              {"level", NameOf(feature.Level())}};
    if (feature.Type() == FeatureType::Integer || feature.Type() == FeatureType::Float) {
        json["unit"] = Printable(feature.Unit());
        json["shownAs"] = ShownAs(feature);
    }
    return json;
}

/// Walks the categories. Bound to a thread.
class Walk {
public:
    Json Features() { return std::move(m_Features); }
    Json Children(const Feature& category, int depth = 0) {
        Json all = Json::array();
        if (depth > kDeepestCategory || !m_Categories.insert(category.Name()).second) return all;
        for (const Feature& child : category.Children()) {
            if (child.Type() != FeatureType::Category) {
                if (!m_Features.contains(child.Name())) m_Features[child.Name()] = Describe(child);
                all.push_back(child.Name());
                continue;
            }
            Json of = Children(child, depth + 1);
            if (!of.empty())
                all.push_back(
                    {{"name", child.Name()}, {"title", Printable(child.DisplayName())}, {"of", std::move(of)}});
        }
        return all;
    }

private:
    Json m_Features = Json::object();
    std::set<std::string> m_Categories;
};

void AddLimits(const Feature& feature, Json& state) {
    if (feature.Type() != FeatureType::Integer && feature.Type() != FeatureType::Float) return;
    state["least"] = feature.Min();
    state["most"] = feature.Max();
    state["step"] = feature.Increment();
}

} // namespace

Json DescribeFeatures(const Camera& camera) {
    Walk walk;
    Json tree = walk.Children(camera["Root"]);
    return {{"tree", std::move(tree)}, {"features", walk.Features()}};
}

Json StateOf(const Feature& feature) {
    Json state = Json::object();
    try {
        // What is for reading only, however the camera is set, needs no reason.
        state["why"] = GenApi::IsForReadingOnly(&feature.Node()) ? std::string() : Printable(feature.WhyNot());
        state["writable"] = feature.IsWritable();
        const bool isReadable = feature.IsReadable() && feature.Type() != FeatureType::Command;
        state["available"] = feature.IsAvailable();
        if (feature.Type() == FeatureType::Enumeration && feature.IsAvailable()) state["entries"] = feature.Entries();
        if (!isReadable) return state;
        state["value"] = Printable(feature.Text());
        AddLimits(feature, state);
    } catch (const std::exception& e) {
        state["why"] = Printable(e.what());
    }
    return state;
}

Json FeatureStates::Update(const Camera& camera, const std::vector<std::string>& names, Occasion occasion) {
    Json changed = Json::object();
    if (occasion == Occasion::Setting) m_Restless.NoteSetting(Restless::Clock::now());
    for (const std::string& name : names) {
        if (!camera.HasFeature(name)) continue;
        Json state = StateOf(camera[name]);
        Json& known = m_Known[name];
        if (known == state) continue;
        if (!known.is_null() && known.value("value", "") != state.value("value", ""))
            m_Restless.NoteChange(name, Restless::Clock::now());
        known = state;
        changed[name] = std::move(state);
    }
    return changed;
}

} // namespace viewer
