#include "Error.h"
#include "cameras/Camera.h"
#include "features/FeatureText.h"
#include "features/FeatureTree.h"
#include "features/Features.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include <GenApi/Why.h>

namespace tool {
namespace {

void RequireReadable(GenApi::IValue& feature, const std::string& name) {
    if (dynamic_cast<GenApi::ICommand*>(&feature)) {
        throw Error(name + " is a command and has no value; `tavix set " + name + "` executes it");
    }
    if (dynamic_cast<GenApi::ICategory*>(&feature)) {
        throw Error(name + " is a group of features; `tavix features " + name + "` lists them");
    }
    if (!GenApi::IsReadable(feature.GetAccessMode())) {
        throw Error(name + " cannot be read now" + WhyText(*feature.GetNode()));
    }
}

std::string WhyLine(GenApi::INode& node, const std::string& name) {
    const std::string reason = Text(GenApi::ExplainAccess(&node));
    return name + " (" + AccessName(node) +
           "): " + (reason.empty() ? "nothing stands in the way of reading and writing it" : Printable(reason));
}

/// Does `one` for each name in turn. What it gives is printed as one array, also when a later name fails: whoever asked
/// has to know what was done.
template<class Action>
int ForEachName(const FeatureOptions& options, Action one) {
    nlohmann::json done = nlohmann::json::array();
    try {
        for (const std::string& name : options.names)
            done.push_back(one(name));
    } catch (...) {
        if (options.json && !done.empty()) PrintJson(done);
        throw;
    }
    if (options.json) PrintJson(done);
    return kDone;
}

TreeReport PrintTreeJson(GenApi::INode& root, const TreeOptions& options) {
    const nlohmann::json features = TreeJson(root, options);
    PrintJson(features);
    TreeReport report;
    report.isEmpty = features.empty() && !options.part.empty();
    for (const nlohmann::json& feature : features) {
        if (feature.contains("error") && report.failures++ == 0) report.firstFailure = feature["error"];
    }
    return report;
}

} // namespace

int Features(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    GenApi::INode* root = camera.Features().GetNode("Root");
    if (!root) {
        throw Error("the description of " + camera.Name() +
                    " has no category Root, so its features cannot be listed; get and set work by name");
    }
    TreeOptions tree;
    tree.part = options.names.empty() ? std::string() : options.names.front();
    tree.everything = options.everything;
    const TreeReport report = options.json ? PrintTreeJson(*root, tree) : PrintTree(*root, tree);
    if (report.isEmpty) throw Error("no feature's name holds '" + tree.part + "'; `tavix features` lists all");
    if (report.failures > 0) {
        throw Error(std::to_string(report.failures) + " features of " + camera.Name() +
                        " could not be read: " + report.firstFailure,
                    TellsOfRemoval(report.firstFailure) ? kFailed : kPartly);
    }
    return kDone;
}

int Get(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    return ForEachName(options, [&](const std::string& name) {
        GenApi::IValue& feature = FindFeature(camera.Features(), name);
        RequireReadable(feature, name);
        if (options.json) return FeatureJson(*feature.GetNode());
        PrintLine(name + "=" + Text(feature.ToString()));
        return nlohmann::json();
    });
}

int Set(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    return ForEachName(options, [&](const std::string& setting) {
        GenApi::INode& node = *ApplySetting(camera.Features(), setting).GetNode();
        if (options.json) return FeatureJson(node);
        const bool isCommand = dynamic_cast<GenApi::ICommand*>(&node) != nullptr;
        PrintLine(Text(node.GetName()) + (isCommand ? " done" : "=" + ValueText(node)));
        return nlohmann::json();
    });
}

int Why(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    return ForEachName(options, [&](const std::string& name) {
        GenApi::INode& node = *FindFeature(camera.Features(), name).GetNode();
        if (options.json) {
            return nlohmann::json{
                {"name", name}, {"access", AccessName(node)}, {"reason", Text(GenApi::ExplainAccess(&node))}};
        }
        PrintLine(WhyLine(node, name));
        return nlohmann::json();
    });
}

} // namespace tool
