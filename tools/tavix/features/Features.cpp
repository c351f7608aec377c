#include "features/Features.h"

#include "Error.h"
#include "features/FeatureText.h"
#include "output/Text.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <thread>

#include <GenApi/Why.h>

namespace tool {
namespace {

constexpr std::chrono::seconds kCommandTimeout{5};

/// Names that hold the one asked for or are held by it, whatever their case, to help with a misspelling.
std::string SimilarNames(GenApi::INodeMap& features, const std::string& name) {
    constexpr int kMost = 5;
    GenApi::NodeList_t nodes;
    features.GetNodes(nodes);
    const std::string wanted = Lower(name);
    std::string similar;
    int count = 0;
    for (GenApi::INode* node : nodes) {
        const std::string candidate = Lower(Text(node->GetName()));
        const bool alike = candidate.find(wanted) != std::string::npos ||
                           (candidate.size() > 3 && wanted.find(candidate) != std::string::npos);
        if (!node->IsFeature() || !alike || dynamic_cast<GenApi::ICategory*>(node)) continue;
        if (candidate == wanted) return Text(node->GetName());
        if (count++ < kMost) similar += (count > 1 ? ", " : "") + Text(node->GetName());
    }
    return similar;
}

/// What a feature that refused a value would take.
std::string Accepts(GenApi::INode& node) {
    const std::string limits = LimitText(node);
    return limits.empty() ? "" : "; it takes " + limits;
}

void Execute(GenApi::ICommand& command, const std::string& name) {
    const auto deadline = std::chrono::steady_clock::now() + kCommandTimeout;
    command.Execute();
    while (!command.IsDone()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw Error(name + " was started and is not done yet; ask again with `tavix features " + name + "`");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

GenApi::IValue& ExecuteNamed(GenApi::INodeMap& features, const std::string& name) {
    GenApi::IValue& feature = FindFeature(features, name);
    auto* command = dynamic_cast<GenApi::ICommand*>(&feature);
    if (!command) throw Error("'" + name + "' is no command; write " + name + "=VALUE to set it");
    if (!GenApi::IsWritable(command->GetAccessMode())) {
        throw Error(name + " cannot be executed now" + WhyText(*feature.GetNode()));
    }
    try {
        Execute(*command, name);
    } catch (const GenICam::GenericException& e) {
        throw Error("cannot execute " + name + ": " + Reason(e));
    }
    return feature;
}

} // namespace

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string WhyText(GenApi::INode& node) {
    const std::string reason = Text(GenApi::ExplainAccess(&node));
    return reason.empty() ? "" : " (" + Printable(reason) + ")";
}

GenApi::IValue& FindFeature(GenApi::INodeMap& features, const std::string& name) {
    if (auto* value = dynamic_cast<GenApi::IValue*>(features.GetNode(name.c_str()))) return *value;
    const std::string similar = name.empty() ? "" : SimilarNames(features, name);
    throw Error("this camera has no feature '" + name + "'" +
                (similar.empty() ? "; `tavix features` lists all" : "; did you mean " + similar + "?"));
}

GenApi::IValue& ApplySetting(GenApi::INodeMap& features, const std::string& setting) {
    const auto sign = setting.find('=');
    if (sign == std::string::npos) return ExecuteNamed(features, setting);
    const std::string name = setting.substr(0, sign), value = setting.substr(sign + 1);
    if (name.empty()) throw Error("'" + setting + "' is no setting; write NAME=VALUE");
    GenApi::IValue& feature = FindFeature(features, name);
    if (dynamic_cast<GenApi::ICommand*>(&feature)) return ExecuteNamed(features, name);
    if (!GenApi::IsWritable(feature.GetAccessMode())) {
        throw Error(name + " cannot be set now" + WhyText(*feature.GetNode()));
    }
    try {
        feature.FromString(value.c_str());
    } catch (const GenICam::GenericException& e) {
        throw Error("cannot set " + name + " to '" + value + "': " + Reason(e) + Accepts(*feature.GetNode()));
    }
    return feature;
}

void EnableAllChunks(GenApi::INodeMap& features) {
    GenApi::CBooleanPtr active(features.GetNode("ChunkModeActive"));
    if (!active || !GenApi::IsWritable(active->GetAccessMode())) {
        throw Error("this camera offers no chunk data now; `tavix why ChunkModeActive` may say why");
    }
    active->SetValue(true);
    GenApi::CEnumerationPtr selector(features.GetNode("ChunkSelector"));
    GenApi::CBooleanPtr enable(features.GetNode("ChunkEnable"));
    if (!selector || !enable || !GenApi::IsWritable(selector->GetAccessMode())) return; // all or nothing, then
    GenApi::StringList_t names;
    selector->GetSymbolics(names);
    for (const auto& name : names) {
        selector->FromString(name);
        if (GenApi::IsWritable(enable->GetAccessMode())) enable->SetValue(true);
    }
}

} // namespace tool
