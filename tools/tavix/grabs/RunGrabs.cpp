#include "grabs/RunGrabs.h"

#include "Error.h"
#include "Interrupt.h"
#include "core/Threads.h"
#include "core/WaitObject.h"

#include <atomic>
#include <thread>

namespace tool {
namespace {

constexpr unsigned int kTickMs = 100;
constexpr int kTicksToStop = 4; // that a grab has to end by itself once it was interrupted

/// Runs a grab on a thread of its own and keeps what it threw for the main thread. Bound to a thread.
class Runner {
public:
    Runner(CameraGrab& grab, const Tavix::WaitObjectEx& ended)
        : m_Grab(grab), m_Thread(Tavix::NewThread([this, ended] {
              try {
                  m_Grab.Run();
              } catch (...) {
                  m_Error = CaughtReason();
              }
              m_HasEnded = true;
              ended.Signal();
          })) {}
    ~Runner() { Join(); }
    void Join() {
        if (m_Thread.joinable()) m_Thread.join();
    }
    bool HasEnded() const { return m_HasEnded; }
    void Stop() { m_Grab.Stop(); }
    void StopCamera() { m_Grab.StopCamera(); }
    /// Valid after Join; empty when all went well.
    const std::string& ErrorText() const { return m_Error; }

private:
    CameraGrab& m_Grab;
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
Runners Start(const std::vector<CameraGrab*>& grabs, const Tavix::WaitObjectEx& ended) {
    Runners runners;
    try {
        for (CameraGrab* grab : grabs)
            runners.push_back(std::make_unique<Runner>(*grab, ended));
    } catch (...) {
        StopAll(runners, 0);
        throw;
    }
    return runners;
}

std::vector<std::string> Run(const std::vector<CameraGrab*>& grabs, const std::function<void()>& onTick) {
    const Tavix::WaitObjectEx ended = Tavix::WaitObjectEx::Create();
    const Runners runners = Start(grabs, ended);
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

std::vector<std::string> RunGrabs(const Grabs& grabs, const std::function<void()>& onTick) {
    std::vector<CameraGrab*> borrowed;
    for (const auto& grab : grabs)
        borrowed.push_back(grab.get());
    return Run(borrowed, onTick);
}

void RunGrab(CameraGrab& grab) {
    const std::string text = Run({&grab}, {}).front();
    if (!text.empty()) throw Error(text);
    const bool isEmpty = grab.Figures().good == 0 && !IsInterrupted();
    if (isEmpty) throw Error(NoFrameText(grab));
}

std::string NoFrameText(const CameraGrab& grab) {
    const std::string& failure = grab.Figures().firstError;
    return grab.Name() + ": no good frame came: " + failure + CureOf(failure);
}

std::string LostFramesText(const CameraGrab& grab) {
    const GrabFigures& figures = grab.Figures();
    const std::string missed = std::to_string(figures.missed) + " frames never came";
    if (figures.failed > 0) {
        return grab.Name() + ": " + std::to_string(figures.failed) + " of " +
               std::to_string(figures.good + figures.failed) + " frames failed: " + figures.firstError +
               (figures.missed > 0 ? "; " + missed : "") + CureOf(figures.firstError);
    }
    if (figures.missed == 0) return {};
    return grab.Name() + ": " + missed + "; bridge longer pauses with more --buffers, ask `tavix doctor`";
}

void ThrowIfFramesAreLost(const CameraGrab& grab) {
    const std::string text = LostFramesText(grab);
    if (!text.empty()) throw Error(text, kPartly);
}

} // namespace tool
