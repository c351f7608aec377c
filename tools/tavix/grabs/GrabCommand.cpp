#include "Error.h"
#include "Interrupt.h"
#include "TraceWatch.h"
#include "cameras/CameraChoice.h"
#include "grabs/GrabReport.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Progress.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

namespace tool {
namespace {

void MakeFolder(const std::string& folder) {
    if (folder.empty()) return;
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (!code && access(folder.c_str(), W_OK) != 0) code.assign(errno, std::generic_category());
    if (code) throw Error("cannot write to the folder " + folder + ": " + code.message() + "; choose another --output");
}

void ShowProgress(Progress& progress, const Grabs& grabs, std::chrono::steady_clock::time_point start) {
    std::uint64_t frames = 0, bytes = 0;
    for (const auto& grab : grabs) {
        frames += grab->Figures().good + grab->Figures().failed;
        bytes += grab->Figures().bytes;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    progress.Show(frames, static_cast<double>(bytes) * 1e-6 / seconds);
}

/// What a camera's grab suffered from, from the worst to the least.
struct Ailments {
    std::vector<std::string> failures; ///< the grab did not take place, or ended early
    std::vector<std::string> damages;  ///< it did, and not every frame is good
};

std::string DamageText(const CameraGrab& grab) {
    const GrabFigures& figures = grab.Figures();
    if (figures.checksumWrong + figures.checksumMissing == 0) return LostFramesText(grab);
    return grab.Name() + ": the checksum is wrong in " + std::to_string(figures.checksumWrong) +
           " frames and missing in " + std::to_string(figures.checksumMissing) +
           "; check cable and hub, or grab without --chunks";
}

/// One text a camera at most.
Ailments Diagnose(const Grabs& grabs, const std::vector<std::string>& errors) {
    Ailments ailments;
    for (std::size_t i = 0; i < grabs.size(); ++i) {
        const GrabFigures& figures = grabs[i]->Figures();
        if (!errors[i].empty()) {
            ailments.failures.push_back(errors[i]);
        } else if (figures.good == 0 && !IsInterrupted()) {
            ailments.failures.push_back(NoFrameText(*grabs[i]));
        } else if (const std::string text = DamageText(*grabs[i]); !text.empty()) {
            ailments.damages.push_back(text);
        }
    }
    return ailments;
}

/// The first text, and how many others there are.
void ThrowIfAny(const std::vector<std::string>& texts, ExitStatus status) {
    if (texts.empty()) return;
    throw Error(texts.front() + (texts.size() > 1 ? " (and " + std::to_string(texts.size() - 1) + " more)" : ""),
                status);
}

void Report(const Grabs& grabs, const ProcessCost& cost, const GrabOptions& options,
            const std::vector<std::string>& failures) {
    if (options.json) {
        PrintJson(ReportJson(grabs, cost, failures));
        return;
    }
    for (const auto& grab : grabs) {
        if (grab->Figures().good + grab->Figures().failed > 0) return PrintReport(grabs, cost, options);
    }
}

Grabs MakeGrabs(const GrabOptions& options) {
    const auto chosen = ChooseCameras(options);
    MakeFolder(options.folder);
    const auto all = options.folder.empty() ? std::vector<Tavix::CameraInfo>() : FindCameras();
    Grabs grabs;
    for (const auto& info : chosen) {
        grabs.push_back(std::make_unique<CameraGrab>(info, options));
        grabs.back()->CallIt(DistinctName(info, chosen));
        if (!options.folder.empty()) grabs.back()->SaveAs(options.folder + "/" + ImagePrefix(info, all));
    }
    return grabs;
}

} // namespace

int Grab(const GrabOptions& options) {
    if (!options.trace.empty()) StartTrace(options.trace);
    const TraceWatch trace;
    const Grabs grabs = MakeGrabs(options);
    const ProcessCost before = MeasureProcess();
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::string> errors;
    {
        Progress progress(options.frames * grabs.size(), options.quiet || options.json);
        errors = RunGrabs(grabs, [&] { ShowProgress(progress, grabs, start); });
    }
    const ProcessCost cost = MeasureProcess() - before;

    const Ailments ailments = Diagnose(grabs, errors);
    std::vector<std::string> all = ailments.failures;
    all.insert(all.end(), ailments.damages.begin(), ailments.damages.end());
    Report(grabs, cost, options, all);
    ThrowIfAny(all, ailments.failures.empty() ? kPartly : kFailed);
    return trace.IsWhole() ? kDone : kPartly;
}

} // namespace tool
