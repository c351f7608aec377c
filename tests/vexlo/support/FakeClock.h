#pragma once
// Time that passes only where somebody waits.

#include "support/ScriptedCamera.h"
#include "vexlo/control/Deadline.h"

#include <atomic>

namespace vexlotest {

/// The library's clock as long as it lives; waiting for acknowledges of the camera takes its time. Thread-safe.
class FakeClock final : public vexlo::Clock {
public:
    explicit FakeClock(scripted::Camera& camera) : m_Camera(camera) {
        vexlo::InjectClock(this);
        camera.OnWaiting([this](unsigned int milliseconds) { Pause(Duration(milliseconds)); });
    }
    ~FakeClock() override {
        m_Camera.OnWaiting(nullptr);
        vexlo::InjectClock(nullptr);
    }

    TimePoint Now() const override { return TimePoint(std::chrono::hours(1)) + Duration(m_Passed); }
    void Pause(Duration time) override { m_Passed += time.count(); }

    /// What an action takes.
    template<class Action>
    Duration Of(Action action) {
        const auto before = m_Passed.load();
        action();
        return Duration(m_Passed - before);
    }

private:
    scripted::Camera& m_Camera;
    std::atomic<Duration::rep> m_Passed{0};
};

} // namespace vexlotest
