#include "Error.h"
#include "Interrupt.h"
#include "TraceWatch.h"
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

void ShowProgress(Progress& progress, const Sessions& sessions, std::chrono::steady_clock::time_point start) {
    std::uint64_t frames = 0, bytes = 0;
    for (const auto& session : sessions) {
        frames += session->Figures().good + session->Figures().failed;
        bytes += session->Figures().bytes;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    progress.Show(frames, static_cast<double>(bytes) * 1e-6 / seconds);
}

/// What a camera's grab suffered from, from the worst to the least.
struct Ailments {
    std::vector<std::string> failures; ///< the grab did not take place, or ended early
    std::vector<std::string> damages;  ///< it did, and not every frame is good
};

std::string DamageText(const GrabSession& session) {
    const GrabFigures& figures = session.Figures();
    if (figures.checksumWrong + figures.checksumMissing == 0) return LostFramesText(session);
    return session.Name() + ": the checksum is wrong in " + std::to_string(figures.checksumWrong) +
           " frames and missing in " + std::to_string(figures.checksumMissing) +
           "; check cable and hub, or grab without --chunks";
}

/// One text a camera at most.
Ailments Diagnose(const Sessions& sessions, const std::vector<std::string>& errors) {
    Ailments ailments;
    for (std::size_t i = 0; i < sessions.size(); ++i) {
        const GrabFigures& figures = sessions[i]->Figures();
        if (!errors[i].empty()) {
            ailments.failures.push_back(errors[i]);
        } else if (figures.good == 0 && !IsInterrupted()) {
            ailments.failures.push_back(NoFrameText(*sessions[i]));
        } else if (const std::string text = DamageText(*sessions[i]); !text.empty()) {
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

void Report(const Sessions& sessions, const ProcessCost& cost, const GrabOptions& options,
            const std::vector<std::string>& failures) {
    if (options.json) {
        PrintJson(ReportJson(sessions, cost, failures));
        return;
    }
    for (const auto& session : sessions) {
        if (session->Figures().good + session->Figures().failed > 0) return PrintReport(sessions, cost, options);
    }
}

Sessions MakeSessions(const GrabOptions& options) {
    const auto chosen = ChooseCameras(options);
    MakeFolder(options.folder);
    const Tavix::DeviceInfoList all = options.folder.empty() ? Tavix::DeviceInfoList() : FindCameras();
    Sessions sessions;
    for (const auto& info : chosen) {
        sessions.push_back(std::make_unique<GrabSession>(info, options));
        if (!options.folder.empty()) sessions.back()->SaveAs(options.folder + "/" + ImagePrefix(info, all));
    }
    return sessions;
}

} // namespace

int Grab(const GrabOptions& options) {
    if (!options.trace.empty()) StartTrace(options.trace);
    const TraceWatch trace;
    const Sessions sessions = MakeSessions(options);
    const ProcessCost before = MeasureProcess();
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::string> errors;
    {
        Progress progress(options.frames * sessions.size(), options.quiet || options.json);
        errors = RunSessions(sessions, [&] { ShowProgress(progress, sessions, start); });
    }
    const ProcessCost cost = MeasureProcess() - before;

    const Ailments ailments = Diagnose(sessions, errors);
    std::vector<std::string> all = ailments.failures;
    all.insert(all.end(), ailments.damages.begin(), ailments.damages.end());
    Report(sessions, cost, options, all);
    ThrowIfAny(all, ailments.failures.empty() ? kPartly : kFailed);
    return trace.IsWhole() ? kDone : kPartly;
}

} // namespace tool
