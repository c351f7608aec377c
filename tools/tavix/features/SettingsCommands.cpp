#include "Error.h"
#include "PlainFile.h"
#include "cameras/CameraChoice.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include "core/NewFile.h"

#include <cstdio>

namespace tool {
namespace {

constexpr std::size_t kMostSettingsBytes = 16 << 20; // of a file of settings

using Refusals = std::vector<Tavix::RefusedSetting>;

constexpr const char* kStandard = "-"; // standard output or input, in place of a file

void WriteFile(const std::string& path, const std::string& text) {
    if (path == kStandard) {
        std::fputs(text.c_str(), stdout);
        return;
    }
    Tavix::NewFile file(path, "choose another file");
    file.Write(text.data(), text.size());
    file.Close();
}

void Report(const std::string& summary, const Refusals& refusals) {
    PrintLine(summary);
    for (const Tavix::RefusedSetting& refusal : refusals)
        PrintLine("  " + refusal.name + ": " + refusal.reason);
}

nlohmann::json ReportJson(const Tavix::Camera& camera, std::size_t settings, const Refusals& refusals) {
    nlohmann::json failed = nlohmann::json::array();
    for (const Tavix::RefusedSetting& refusal : refusals)
        failed.push_back({{"feature", refusal.name}, {"reason", refusal.reason}});
    return {{"camera", NameOf(camera)}, {"settings", settings}, {"failed", failed}};
}

/// A camera that has gone is no reason for a file or a camera with a part of the settings to be called done.
[[noreturn]] void ThrowGone(const Tavix::Camera& camera, const std::string& consequence) {
    throw Error(NameOf(camera) + " was unplugged; " + consequence + "; plug it in again");
}

Tavix::Settings Read(const Tavix::Camera& camera, Refusals& refusals) try {
    return camera.ReadSettings(&refusals);
} catch (const Tavix::Removed&) {
    ThrowGone(camera, "nothing was saved");
}

Refusals Apply(Tavix::Camera& camera, const Tavix::Settings& settings) try {
    return camera.Apply(settings);
} catch (const Tavix::Removed&) {
    ThrowGone(camera, "not all settings were set");
}

void ThrowIfRefused(const Refusals& refusals, const std::string& noun, const std::string& text) {
    const char* plural = refusals.size() == 1 ? "" : "s";
    if (!refusals.empty()) throw Error(std::to_string(refusals.size()) + " " + noun + plural + text, kPartly);
}

} // namespace

int Save(const SettingsFileOptions& options) {
    const Tavix::Camera camera = OpenCamera(options);
    Refusals refusals;
    const Tavix::Settings settings = Read(camera, refusals);
    const std::size_t count = settings.Lines().size();
    if (count == 0) {
        throw Error("the description of " + NameOf(camera) +
                    " marks no feature as a setting to be kept; `tavix get` and `tavix set` work by name");
    }
    WriteFile(options.path, "# Settings of " + NameOf(camera) + "\n" + settings.Text());
    if (options.path == kStandard) {
        ThrowIfRefused(refusals, "feature", " could not be read; the others are above");
        return kDone; // a report would be taken for settings
    }
    if (options.json) {
        PrintJson(ReportJson(camera, count, refusals));
    } else {
        Report(std::to_string(count) + " settings of " + NameOf(camera) + " in " + options.path, refusals);
    }
    ThrowIfRefused(refusals, "feature", " could not be read; the others are in " + options.path);
    return kDone;
}

int Load(const SettingsFileOptions& options) {
    const std::string advice = "name a file that `tavix save` wrote";
    const bool isInput = options.path == kStandard;
    const std::string source = isInput ? "standard input" : options.path;
    const Tavix::Settings settings =
        Tavix::Settings::FromText(isInput ? ReadStandardInput(kMostSettingsBytes, advice)
                                          : ReadWholeFile(options.path, kMostSettingsBytes, advice));
    const std::size_t count = settings.Lines().size();
    if (count == 0) throw Error(source + " holds no settings; " + advice);
    Tavix::Camera camera = OpenCamera(options);
    const Refusals refusals = Apply(camera, settings);
    if (options.json) {
        PrintJson(ReportJson(camera, count, refusals));
    } else {
        Report(std::to_string(count - refusals.size()) + " of " + std::to_string(count) + " settings from " + source +
                   " set in " + NameOf(camera),
               refusals);
    }
    const bool isNone = refusals.size() >= count;
    ThrowIfRefused(refusals, "setting", isNone ? " could not be set; none was" : " could not be set; the others are");
    return kDone;
}

} // namespace tool
