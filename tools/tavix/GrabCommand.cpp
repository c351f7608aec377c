#include "Commands.h"
#include "Error.h"
#include "GrabReport.h"
#include "Json.h"
#include "Progress.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <unistd.h>

namespace tool {
namespace {

constexpr int kInterruptedStatus = 130; // as a shell reports a program that Ctrl-C ended
constexpr unsigned int kProgressPeriodMs = 100;

volatile std::sig_atomic_t g_Interrupted = 0;

/// The first signal ends the grab in good order, a second one ends the program at once.
void OnInterrupt(int signal) {
    g_Interrupted = 1;
    std::signal(signal, SIG_DFL);
}

/// Runs a session on a thread of its own and keeps what it threw for the main thread. Bound to a thread.
class Runner {
public:
    Runner(GrabSession& session, const Tavix::WaitObjectEx& ended)
        : m_Thread([this, &session, ended] {
              try {
                  session.Run();
              } catch (const std::exception& e) {
                  m_Error = Reason(e);
              }
              m_HasEnded = true;
              ended.Signal();
          }) {}
    ~Runner() { Join(); }
    void Join() {
        if (m_Thread.joinable()) m_Thread.join();
    }
    bool HasEnded() const { return m_HasEnded; }
    /// Valid after Join; empty when all went well.
    const std::string& ErrorText() const { return m_Error; }

private:
    std::string m_Error;
    std::atomic<bool> m_HasEnded{false};
    std::thread m_Thread;
};
using Runners = std::vector<std::unique_ptr<Runner>>;

void MakeFolder(const std::string& folder) {
    if (folder.empty()) return;
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (!code && access(folder.c_str(), W_OK) != 0) code.assign(errno, std::generic_category());
    if (code) throw Error("cannot write to the folder " + folder + ": " + code.message() + "; choose another --output");
}

bool HaveAllEnded(const Runners& runners) {
    for (const auto& runner : runners) {
        if (!runner->HasEnded()) return false;
    }
    return true;
}

void Watch(const Sessions& sessions, const Runners& runners, const Tavix::WaitObject& ended,
           const GrabOptions& options) {
    Progress progress(options.frames * sessions.size(), options.quiet || options.json);
    const auto start = std::chrono::steady_clock::now();
    while (!HaveAllEnded(runners)) {
        (void)ended.Wait(kProgressPeriodMs);
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

/// What ends the command with status 1, one text a camera at most.
std::vector<std::string> Failures(const Sessions& sessions, const Runners& runners) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < sessions.size(); ++i) {
        const GrabFigures& figures = sessions[i]->Figures();
        if (!runners[i]->ErrorText().empty()) {
            texts.push_back(runners[i]->ErrorText());
        } else if (figures.good == 0 && !g_Interrupted) {
            texts.push_back(sessions[i]->Name() + ": no good frame came: " + figures.firstError);
        } else if (figures.checksumWrong + figures.checksumMissing > 0) {
            texts.push_back(sessions[i]->Name() + ": the checksum is wrong in " +
                            std::to_string(figures.checksumWrong) + " frames and missing in " +
                            std::to_string(figures.checksumMissing) +
                            "; check cable and hub, or grab without --chunks");
        }
    }
    return texts;
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

} // namespace

int Grab(const GrabOptions& options) {
    const auto cameras = ChooseCameras(options);
    MakeFolder(options.folder);
    Sessions sessions;
    for (const auto& info : cameras)
        sessions.push_back(std::make_unique<GrabSession>(info, options));
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
    std::signal(SIGXFSZ, SIG_IGN); // a file that grew too large is an error of writing, not a reason to die

    const ProcessCost before = MeasureProcess();
    const Tavix::WaitObjectEx ended = Tavix::WaitObjectEx::Create();
    Runners runners;
    for (auto& session : sessions)
        runners.push_back(std::make_unique<Runner>(*session, ended));
    Watch(sessions, runners, ended, options);
    for (auto& runner : runners)
        runner->Join();
    const ProcessCost cost = MeasureProcess() - before;

    const std::vector<std::string> failures = Failures(sessions, runners);
    Report(sessions, cost, options, failures);
    if (failures.size() == 1) throw Error(failures.front());
    if (!failures.empty()) throw Error(failures.front() + " (and " + std::to_string(failures.size() - 1) + " more)");
    if (g_Interrupted) std::fprintf(stderr, "tavix: interrupted\n");
    return g_Interrupted ? kInterruptedStatus : 0;
}

} // namespace tool
