#include "Error.h"
#include "cameras/CameraChoice.h"
#include "features/FeatureText.h"
#include "features/FeatureTree.h"
#include "features/Features.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include <tavix/Device.h>
#include <tavix/DevicePresence.h>

namespace tool {
namespace {

void RequireValue(const Tavix::Feature& feature) {
    const std::string& name = feature.Name();
    if (feature.Type() == Tavix::FeatureType::Command)
        throw Error(name + " is a command and has no value; `tavix set " + name + "` executes it");
    if (feature.Type() == Tavix::FeatureType::Category)
        throw Error(name + " is a group of features; `tavix features " + name + "` lists them");
}

std::string WhyLine(const Tavix::Feature& feature) {
    const std::string reason = feature.WhyNot();
    return feature.Name() + " (" + AccessName(feature.Node()) +
           "): " + (reason.empty() ? "nothing stands in the way of reading and writing it" : reason);
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

/// Whether that is why its features could not be read.
bool HasGone(const Tavix::Camera& camera) {
    try {
        const auto* presence = dynamic_cast<const Tavix::IDevicePresence*>(&camera.Device());
        return presence && presence->Presence() == Tavix::DevicePresence::Gone;
    } catch (const Tavix::Removed&) {
        return true;
    }
}

void PrintNames(GenApi::INode& root, const TreeOptions& options) {
    for (const std::string& name : FeatureNames(root, options))
        PrintWord(name);
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
    const Tavix::Camera camera = OpenCamera(options);
    GenApi::INode* root = camera.Nodes().GetNode("Root");
    if (!root) {
        throw Error("the description of " + NameOf(camera) +
                    " has no category Root, so its features cannot be listed; get and set work by name");
    }
    TreeOptions tree;
    tree.part = options.names.empty() ? std::string() : options.names.front();
    tree.everything = options.everything;
    if (options.namesOnly) {
        PrintNames(*root, tree);
        return kDone;
    }
    const TreeReport report = options.json ? PrintTreeJson(*root, tree) : PrintTree(*root, tree);
    if (report.isEmpty) throw Error("no feature's name holds '" + tree.part + "'; `tavix features` lists all");
    if (report.failures > 0) {
        const bool isGone = HasGone(camera);
        throw Error(std::to_string(report.failures) + " features of " + NameOf(camera) +
                        " could not be read: " + report.firstFailure + (isGone ? kPlugIn : ""),
                    isGone ? kFailed : kPartly);
    }
    return kDone;
}

int Get(const FeatureOptions& options) {
    const Tavix::Camera camera = OpenCamera(options);
    return ForEachName(options, [&](const std::string& name) {
        const Tavix::Feature feature = FindFeature(camera, name);
        RequireValue(feature);
        const std::string text = feature.Text();
        if (options.json) return FeatureJson(feature.Node());
        PrintLine(name + "=" + text);
        return nlohmann::json();
    });
}

int Set(const FeatureOptions& options) {
    const Tavix::Camera camera = OpenCamera(options);
    return ForEachName(options, [&](const std::string& setting) {
        const Tavix::Feature feature = ApplySetting(camera, setting);
        if (options.json) return FeatureJson(feature.Node());
        const bool isCommand = feature.Type() == Tavix::FeatureType::Command;
        PrintLine(feature.Name() + (isCommand ? " done" : "=" + ValueText(feature.Node())));
        return nlohmann::json();
    });
}

int Why(const FeatureOptions& options) {
    const Tavix::Camera camera = OpenCamera(options);
    return ForEachName(options, [&](const std::string& name) {
        const Tavix::Feature feature = FindFeature(camera, name);
        if (options.json)
            return nlohmann::json{{"name", name}, {"access", AccessName(feature.Node())}, {"reason", feature.WhyNot()}};
        PrintLine(WhyLine(feature));
        return nlohmann::json();
    });
}

} // namespace tool
