#include "Error.h"
#include "NewFile.h"
#include "PlainFile.h"
#include "cameras/Camera.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include <cstdio>
#include <sstream>

#include <GenApi/Persistence.h>

namespace tool {
namespace {

constexpr std::size_t kMostBytes = 16 << 20; // of a file of settings

/// A setting that could be neither read nor written.
struct Refusal {
    std::string feature, reason;
};

std::vector<Refusal> Refusals(const GenICam::gcstring_vector& errors) {
    std::vector<Refusal> refusals;
    for (const auto& error : errors) {
        const std::string text = Text(error);
        const auto colon = text.find(": ");
        refusals.push_back(colon == std::string::npos ? Refusal{"", text}
                                                      : Refusal{text.substr(0, colon), text.substr(colon + 2)});
    }
    return refusals;
}

/// Lines that hold a setting.
std::size_t CountSettings(const std::string& text) {
    std::istringstream stream(text);
    std::size_t count = 0;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line[0] != '#' && line.find('\t') != std::string::npos) ++count;
    }
    return count;
}

constexpr const char* kStandardOutput = "-";

void WriteFile(const std::string& path, const std::string& text) {
    if (path == kStandardOutput) {
        std::fputs(text.c_str(), stdout);
        return;
    }
    NewFile file(path, "choose another file");
    file.Write(text.data(), text.size());
    file.Close();
}

void Report(const std::string& summary, const std::vector<Refusal>& refusals) {
    PrintLine(summary);
    for (const Refusal& refusal : refusals)
        PrintLine("  " + refusal.feature + ": " + refusal.reason);
}

nlohmann::json ReportJson(const Camera& camera, std::size_t settings, const std::vector<Refusal>& refusals) {
    nlohmann::json failed = nlohmann::json::array();
    for (const Refusal& refusal : refusals)
        failed.push_back({{"feature", refusal.feature}, {"reason", refusal.reason}});
    return {{"camera", camera.Name()}, {"settings", settings}, {"failed", failed}};
}

/// Settings depend on each other in ways that no order of lines does justice to: an offset may fit only once the size
/// is set. So the lines are applied again as long as that makes fewer of them fail.
std::vector<Refusal> Apply(GenApi::CFeatureBag& bag, GenApi::INodeMap& features) {
    GenICam::gcstring_vector errors;
    bag.LoadFromBag(&features, /*Verify=*/true, &errors);
    while (!errors.empty()) {
        GenICam::gcstring_vector again;
        bag.LoadFromBag(&features, /*Verify=*/true, &again);
        const bool isBetter = again.size() < errors.size();
        errors.swap(again);
        if (!isBetter) break;
    }
    return Refusals(errors);
}

/// A camera that has gone is no reason for a file or a camera with a part of the settings to be called done.
void ThrowIfGone(const Camera& camera, const std::vector<Refusal>& refusals, const std::string& consequence) {
    for (const Refusal& refusal : refusals) {
        if (TellsOfRemoval(refusal.reason))
            throw Error(camera.Name() + " was unplugged; " + consequence + "; plug it in again");
    }
}

void ThrowIfRefused(const std::vector<Refusal>& refusals, const std::string& noun, const std::string& text) {
    const char* plural = refusals.size() == 1 ? "" : "s";
    if (!refusals.empty()) throw Error(std::to_string(refusals.size()) + " " + noun + plural + text, kPartly);
}

} // namespace

int Save(const SettingsFileOptions& options) {
    Camera camera(ChooseCamera(options));
    GenApi::CFeatureBag bag;
    bag.SetInfo(("Settings of " + camera.Name()).c_str());
    GenICam::gcstring_vector errors;
    bag.StoreToBag(&camera.Features(), /*MaxNumEntries=*/-1, &errors);
    const std::vector<Refusal> refusals = Refusals(errors);
    ThrowIfGone(camera, refusals, "nothing was saved");
    std::ostringstream text;
    text << bag;
    const std::size_t count = CountSettings(text.str());
    if (count == 0) {
        throw Error("the description of " + camera.Name() +
                    " marks no feature as a setting to be kept; `tavix get` and `tavix set` work by name");
    }
    WriteFile(options.path, text.str());
    if (options.path == kStandardOutput) {
        ThrowIfRefused(refusals, "feature", " could not be read; the others are above");
        return kDone; // a report would be taken for settings
    }
    if (options.json) {
        PrintJson(ReportJson(camera, count, refusals));
    } else {
        Report(std::to_string(count) + " settings of " + camera.Name() + " in " + options.path, refusals);
    }
    ThrowIfRefused(refusals, "feature", " could not be read; the others are in " + options.path);
    return kDone;
}

int Load(const SettingsFileOptions& options) {
    const std::string text = ReadWholeFile(options.path, kMostBytes, "name a file that `tavix save` wrote");
    const std::size_t count = CountSettings(text);
    if (count == 0) throw Error(options.path + " holds no settings; name a file that `tavix save` wrote");
    Camera camera(ChooseCamera(options));
    GenApi::CFeatureBag bag;
    std::istringstream stream(text);
    stream >> bag;
    const std::vector<Refusal> refusals = Apply(bag, camera.Features());
    ThrowIfGone(camera, refusals, "not all settings were set");
    if (options.json) {
        PrintJson(ReportJson(camera, count, refusals));
    } else {
        Report(std::to_string(count - refusals.size()) + " of " + std::to_string(count) + " settings from " +
                   options.path + " set in " + camera.Name(),
               refusals);
    }
    const bool isNone = refusals.size() >= count;
    ThrowIfRefused(refusals, "setting", isNone ? " could not be set; none was" : " could not be set; the others are");
    return kDone;
}

} // namespace tool
