#include "GrabRun.h"

#include "Error.h"
#include "Interrupt.h"

#include <atomic>
#include <thread>

namespace tool {
namespace {

constexpr unsigned int kTickMs = 100;

/// Runs a session on a thread of its own and keeps what it threw for the main thread. Bound to a thread.
class Runner {
public:
    Runner(GrabSession& session, const Tavix::WaitObjectEx& ended)
        : m_Session(session), m_Thread([this, ended] {
              try {
                  m_Session.Run();
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
    void Stop() { m_Session.Stop(); }
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

std::vector<std::string> Run(const std::vector<GrabSession*>& sessions, const std::function<void()>& onTick) {
    const Tavix::WaitObjectEx ended = Tavix::WaitObjectEx::Create();
    Runners runners;
    for (GrabSession* session : sessions)
        runners.push_back(std::make_unique<Runner>(*session, ended));
    while (!HaveAllEnded(runners)) {
        (void)ended.Wait(kTickMs);
        for (auto& runner : runners) {
            if (IsInterrupted()) runner->Stop();
        }
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
    if (isEmpty) throw Error(session.Name() + ": no good frame came: " + session.Figures().firstError);
}

std::string FailedFramesText(const GrabSession& session) {
    const GrabFigures& figures = session.Figures();
    if (figures.failed == 0) return {};
    return session.Name() + ": " + std::to_string(figures.failed) + " of " +
           std::to_string(figures.good + figures.failed) + " frames failed: " + figures.firstError +
           "; check cable and hub, `tavix doctor` helps";
}

void ThrowIfFramesFailed(const GrabSession& session) {
    const std::string text = FailedFramesText(session);
    if (!text.empty()) throw Error(text, kPartly);
}

} // namespace tool
