#include "Camera.h"
#include "Commands.h"
#include "Error.h"
#include "FeatureText.h"
#include "FeatureTree.h"
#include "Features.h"
#include "Json.h"
#include "Text.h"

#include <cstdio>

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
    nlohmann::json json = nlohmann::json::array();
    for (const std::string& name : options.names) {
        GenApi::IValue& feature = FindFeature(camera.Features(), name);
        RequireReadable(feature, name);
        if (options.json) {
            json.push_back(FeatureJson(*feature.GetNode()));
        } else {
            PrintLine(name + "=" + Text(feature.ToString()));
        }
    }
    if (options.json) PrintJson(json);
    return 0;
}

int Set(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    nlohmann::json json = nlohmann::json::array();
    for (const std::string& setting : options.names) {
        GenApi::INode& node = *ApplySetting(camera.Features(), setting).GetNode();
        const std::string name = Text(node.GetName());
        if (options.json) {
            json.push_back(FeatureJson(node));
        } else if (dynamic_cast<GenApi::ICommand*>(&node)) {
            PrintLine(name + " done");
        } else {
            PrintLine(name + "=" + ValueText(node));
        }
    }
    if (options.json) PrintJson(json);
    return 0;
}

int Why(const FeatureOptions& options) {
    Camera camera(ChooseCamera(options));
    nlohmann::json json = nlohmann::json::array();
    for (const std::string& name : options.names) {
        GenApi::INode& node = *FindFeature(camera.Features(), name).GetNode();
        if (options.json) {
            json.push_back(
                {{"name", name}, {"access", AccessName(node)}, {"reason", Text(GenApi::ExplainAccess(&node))}});
        } else {
            PrintLine(WhyLine(node, name));
        }
    }
    if (options.json) PrintJson(json);
    return 0;
}

} // namespace tool
