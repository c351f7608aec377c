#include "grabs/GrabRun.h"

#include "Error.h"
#include "Interrupt.h"
#include "doctor/Examination.h"

#include <atomic>
#include <thread>

namespace tool {
namespace {

constexpr unsigned int kTickMs = 100;
constexpr int kTicksToStop = 4; // that a session has to end by itself once it was interrupted

/// Runs a session on a thread of its own and keeps what it threw for the main thread. Bound to a thread.
class Runner {
public:
    Runner(GrabSession& session, const Tavix::WaitObjectEx& ended)
        : m_Session(session), m_Thread([this, ended] {
              try {
                  m_Session.Run();
              } catch (...) {
                  m_Error = CaughtReason();
              }
              m_HasEnded = true;
              ended.Signal();
          }) {}
    ~Runner() { Join(); }
    void Join() {
        if (m_Thread.joinable()) m_Thread.join();
    }
    bool HasEnded() const { return m_HasEnded; }
    void Stop() { m_Session.Stop(); }
    void StopCamera() { m_Session.StopCamera(); }
    /// Valid after Join; empty when all went well.
    const std::string& ErrorText() const { return m_Error; }

private:
    GrabSession& m_Session;
    std::string m_Error;
    std::atomic<bool> m_HasEnded{false};
    std::thread m_Thread;
};
using Runners = std::vector<std::unique_ptr<Runner>>;

bool HaveAllEnded(const Runners& runners) {
    for (const auto& runner : runners) {
        if (!runner->HasEnded()) return false;
    }
    return true;
}

void StopAll(const Runners& runners, int ticks) {
    for (const auto& runner : runners) {
        runner->Stop();
        if (ticks == kTicksToStop && !runner->HasEnded()) runner->StopCamera();
    }
}

/// A grab whose thread cannot be started ends those that have begun.
Runners Start(const std::vector<GrabSession*>& sessions, const Tavix::WaitObjectEx& ended) {
    Runners runners;
    try {
        for (GrabSession* session : sessions)
            runners.push_back(std::make_unique<Runner>(*session, ended));
    } catch (...) {
        StopAll(runners, 0);
        throw;
    }
    return runners;
}

std::vector<std::string> Run(const std::vector<GrabSession*>& sessions, const std::function<void()>& onTick) {
    const Tavix::WaitObjectEx ended = Tavix::WaitObjectEx::Create();
    const Runners runners = Start(sessions, ended);
    for (int interruptedTicks = 0; !HaveAllEnded(runners);) {
        (void)ended.Wait(kTickMs);
        if (IsInterrupted()) StopAll(runners, ++interruptedTicks);
        if (onTick) onTick();
    }
    std::vector<std::string> texts;
    for (auto& runner : runners) {
        runner->Join();
        texts.push_back(runner->ErrorText());
    }
    return texts;
}

} // namespace

std::vector<std::string> RunSessions(const Sessions& sessions, const std::function<void()>& onTick) {
    std::vector<GrabSession*> borrowed;
    for (const auto& session : sessions)
        borrowed.push_back(session.get());
    return Run(borrowed, onTick);
}

void RunSession(GrabSession& session) {
    const std::string text = Run({&session}, {}).front();
    if (!text.empty()) throw Error(text);
    const bool isEmpty = session.Figures().good == 0 && !IsInterrupted();
    if (isEmpty) throw Error(NoFrameText(session));
}

namespace {

/// What helps against a failure of frames.
std::string CureOf(const std::string& failure) {
    const bool lacksMemory = failure.find("usbfs_memory_mb") != std::string::npos;
    return lacksMemory ? std::string("; more memory for transfers: ") + kRaiseTransferMemory
                       : "; check cable and hub, `tavix doctor` helps";
}

} // namespace

std::string NoFrameText(const GrabSession& session) {
    const std::string& failure = session.Figures().firstError;
    return session.Name() + ": no good frame came: " + failure + CureOf(failure);
}

std::string LostFramesText(const GrabSession& session) {
    const GrabFigures& figures = session.Figures();
    const std::string missed = std::to_string(figures.missed) + " frames never came";
    if (figures.failed > 0) {
        return session.Name() + ": " + std::to_string(figures.failed) + " of " +
               std::to_string(figures.good + figures.failed) + " frames failed: " + figures.firstError +
               (figures.missed > 0 ? "; " + missed : "") + CureOf(figures.firstError);
    }
    if (figures.missed == 0) return {};
    return session.Name() + ": " + missed + "; bridge longer pauses with more --buffers, ask `tavix doctor`";
}

void ThrowIfFramesAreLost(const GrabSession& session) {
    const std::string text = LostFramesText(session);
    if (!text.empty()) throw Error(text, kPartly);
}

} // namespace tool
