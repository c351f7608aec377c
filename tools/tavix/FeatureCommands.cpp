#include "Camera.h"
#include "Commands.h"
#include "Error.h"
#include "FeatureText.h"

#include <cstdio>

namespace tool {
namespace {

/// Walks the categories below Root and prints or collects what the options ask for. Bound to a thread.
class FeatureTree {
public:
    FeatureTree(const FeatureOptions& options, nlohmann::json& json) : m_Options(options), m_Json(json) {}

    void Visit(GenApi::INode& node, int depth) {
        if (auto* category = dynamic_cast<GenApi::ICategory*>(&node)) {
            VisitCategory(*category, node, depth);
            return;
        }
        if (!Wanted(node)) return;
        if (m_Options.json) {
            m_Json.push_back(FeatureJson(node));
            return;
        }
        std::printf("%*s%-*s %-11s %-2s  %-24s %s\n", 2 * depth, "", 44 - 2 * depth, node.GetName().c_str(),
                    TypeName(node), AccessName(node), ValueText(node).c_str(), LimitText(node).c_str());
    }

private:
    void VisitCategory(GenApi::ICategory& category, GenApi::INode& node, int depth) {
        if (depth > kDeepest) return;
        if (!m_Options.json && m_Options.names.empty()) std::printf("%*s%s\n", 2 * depth, "", node.GetName().c_str());
        GenApi::FeatureList_t features;
        category.GetFeatures(features);
        for (GenApi::IValue* feature : features) {
            if (feature && feature->GetNode()) Visit(*feature->GetNode(), depth + 1);
        }
    }

    bool Wanted(GenApi::INode& node) const {
        const std::string name = node.GetName().c_str();
        if (!m_Options.names.empty() && name.find(m_Options.names.front()) == std::string::npos) return false;
        if (m_Options.everything) return true;
        return node.GetVisibility() != GenApi::Invisible && std::string(AccessName(node)) != "NI";
    }

    static constexpr int kDeepest = 16; // a category that names itself must not be walked for ever
    const FeatureOptions& m_Options;
    nlohmann::json& m_Json;
};

} // namespace

int Features(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    nlohmann::json json = nlohmann::json::array();
    GenApi::INode* root = camera.Features().GetNode("Root");
    if (!root)
        throw Error("the description of " + camera.Name() + " has no category Root; its features cannot be listed");
    FeatureTree(options, json).Visit(*root, 0);
    if (options.json) std::printf("%s\n", json.dump(2).c_str());
    return 0;
}

int Get(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    nlohmann::json json = nlohmann::json::array();
    for (const std::string& name : options.names) {
        GenApi::IValue& feature = FindFeature(camera.Features(), name);
        if (options.json) {
            json.push_back(FeatureJson(*feature.GetNode()));
            continue;
        }
        if (!GenApi::IsReadable(feature.GetAccessMode())) {
            throw Error(name + " cannot be read now (access " + AccessName(*feature.GetNode()) + ")");
        }
        std::printf("%s=%s\n", name.c_str(), feature.ToString().c_str());
    }
    if (options.json) std::printf("%s\n", json.dump(2).c_str());
    return 0;
}

int Set(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    for (const std::string& setting : options.names) {
        ApplySetting(camera.Features(), setting);
        const std::string name = SplitSetting(setting).first;
        GenApi::IValue& feature = FindFeature(camera.Features(), name);
        std::printf("%s=%s\n", name.c_str(), ValueText(*feature.GetNode()).c_str());
    }
    return 0;
}

} // namespace tool
