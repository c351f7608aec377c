#include "Commands.h"
#include "Error.h"
#include "GrabReport.h"
#include "Progress.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace tool {
namespace {

volatile std::sig_atomic_t g_Interrupted = 0;

void OnInterrupt(int) {
    g_Interrupted = 1;
}

/// Runs a session and keeps what it threw for the main thread.
struct Runner {
    explicit Runner(GrabSession& session)
        : thread([this, &session] {
              try {
                  session.Run();
              } catch (const std::exception& e) {
                  error = e.what();
              }
              ended = true;
          }) {}
    std::string error;
    std::atomic<bool> ended{false};
    std::thread thread;
};

void MakeFolder(const std::string& folder) {
    if (folder.empty()) return;
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (code) throw Error("cannot make the folder " + folder + ": " + code.message());
}

bool AllEnded(const std::vector<std::unique_ptr<Runner>>& runners) {
    for (const auto& runner : runners) {
        if (!runner->ended) return false;
    }
    return true;
}

void Watch(const Sessions& sessions, const std::vector<std::unique_ptr<Runner>>& runners, const GrabOptions& options) {
    Progress progress(options.frames * sessions.size(), options.quiet || options.json);
    const auto start = std::chrono::steady_clock::now();
    while (!AllEnded(runners)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::uint64_t frames = 0, bytes = 0;
        for (const auto& session : sessions) {
            frames += session->Figures().good + session->Figures().failed;
            bytes += session->Figures().bytes;
            if (g_Interrupted) session->Stop();
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        progress.Show(frames, static_cast<double>(bytes) * 1e-6 / seconds);
    }
}

} // namespace

int Grab(const GrabOptions& options) {
    MakeFolder(options.folder);
    Sessions sessions;
    for (const auto& info : ChooseCameras(options))
        sessions.push_back(std::make_unique<GrabSession>(info, options));
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);

    const ProcessCost before = MeasureProcess();
    std::vector<std::unique_ptr<Runner>> runners;
    for (auto& session : sessions)
        runners.push_back(std::make_unique<Runner>(*session));
    Watch(sessions, runners, options);
    for (auto& runner : runners)
        runner->thread.join();
    const ProcessCost after = MeasureProcess();
    const ProcessCost cost{after.cpuSeconds - before.cpuSeconds, after.contextSwitches - before.contextSwitches};

    if (options.json) {
        std::printf("%s\n", ReportJson(sessions, cost).dump(2).c_str());
    } else {
        PrintReport(sessions, cost);
    }
    for (const auto& runner : runners) {
        if (!runner->error.empty()) throw Error(runner->error);
    }
    for (const auto& session : sessions) {
        if (session->Figures().checkFailed > 0) throw Error(session->Name() + ": chunk data failed its check");
        if (session->Figures().good == 0) throw Error(session->Name() + ": no good frame was grabbed");
    }
    return 0;
}

} // namespace tool
