#pragma once
// Prints the events of a camera.

#include "grabs/FrameObserver.h"
#include "line/Options.h"

#include "core/Mutex.h"
#include "core/WaitObject.h"

#include <chrono>
#include <string>

namespace tool {

/// Works with a camera that is open: alone, or as the observer of a grab. Prints on the thread that delivers events.
/// Thread-safe.
class EventPrinter final : public FrameObserver {
public:
    explicit EventPrinter(const EventsOptions& options) : m_Options(options) {}

    /// Switches the events on and begins to print. Throws Tavix::Error.
    void Start(Tavix::Camera& camera);
    /// Whether enough events have come, none came in time, or they cannot be taken any more; waits a moment for that.
    bool HasEnded(std::chrono::milliseconds timeout = {});
    /// Asks how many events failed, which explains why none comes; while the camera is open.
    void NoteDamage(const Tavix::Camera& camera);
    /// Why it ended early; empty for no reason.
    std::string Failure() const;

private:
    void OnReady(Tavix::Camera& camera) override {
        m_Camera = &camera;
        Start(camera);
    }
    void OnImage(const Tavix::Image&) override {}
    void OnEnd() override {
        if (m_Camera) NoteDamage(*m_Camera);
        m_Camera = nullptr;
    }

    void Take(const Tavix::CameraEvent& event);
    void Print(const Tavix::CameraEvent& event) const;
    bool IsEnough() const TAVIX_REQUIRES(m_Mutex) { return m_Options.count > 0 && m_Count >= m_Options.count; }
    std::string SilenceText() const TAVIX_REQUIRES(m_Mutex);
    void End() { m_Ended.Signal(); }

    const EventsOptions m_Options;
    const Tavix::WaitObjectEx m_Ended = Tavix::WaitObjectEx::Create(/*manualReset=*/true);
    mutable Tavix::Mutex m_Mutex;
    std::uint64_t m_Count TAVIX_GUARDED_BY(m_Mutex) = 0;
    std::chrono::steady_clock::time_point m_LastSign TAVIX_GUARDED_BY(m_Mutex);
    bool m_IsSilent TAVIX_GUARDED_BY(m_Mutex) = false; // that is why it ended
    std::int64_t m_Damaged TAVIX_GUARDED_BY(m_Mutex) = 0;
    const Tavix::Camera* m_Camera = nullptr; // that a grab has open; for its thread
};

} // namespace tool
