#pragma once
// A camera as the interpreter owns it.

#include "python/threads/Lock.h"

#include <tavix/camera/Camera.h>
#include <tavix/camera/Error.h>

#include <memory>
#include <vector>

namespace tavixpython {

/// How long a trigger waits for the camera to be ready unless told otherwise.
inline constexpr std::chrono::milliseconds kReadiness{5000};
Tavix::Timeout NotReady(std::chrono::milliseconds time);

/// Complains when it was forgotten. Destroyed with the interpreter's lock held.
struct Door {
    explicit Door(std::shared_ptr<Tavix::Camera> opened);
    ~Door();
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;
    /// Whether one is left that is open.
    static bool IsAnyOpen();

    const std::shared_ptr<Tavix::Camera> shared; // with the group that it was opened by
    Tavix::Camera& camera;
};

/// Waits in steps until `feature`, a command that was started, is done; a signal ends the wait. Timeout.
void AwaitDoneInSteps(const Tavix::Feature& feature, std::chrono::milliseconds longest);

/// The parts of a trigger, of a camera or a group.
constexpr char kAwaitTriggerDoc[] = "Whether a software trigger may be fired: waits for that, so many seconds at most, "
                                    "or for ever. AccessError when no "
                                    "trigger by software is taken.";
constexpr char kFireTriggerDoc[] =
    "Triggers by software now, ready or not, and does not wait until that is done. AccessError.";
template<class Source>
bool AwaitTriggerInSteps(Source& source, const pybind11::object& timeout) {
    return WaitInSteps(ToMilliseconds(timeout, std::chrono::milliseconds(-1)),
                       [&](std::chrono::milliseconds time) { return source.AwaitTrigger(time); });
}

/// Triggers a camera or a group; a signal ends the waits for readiness and for the commands to be done.
template<class Source>
void TriggerInSteps(Source& source, const pybind11::object& timeout, const std::vector<Tavix::Camera*>& cameras) {
    const std::chrono::milliseconds longest = ToMilliseconds(timeout, kReadiness);
    if (!WaitInSteps(longest, [&](std::chrono::milliseconds time) { return source.AwaitTrigger(time); }))
        throw NotReady(longest);
    Unlocked([&] { source.FireTrigger(); });
    for (Tavix::Camera* camera : cameras)
        AwaitDoneInSteps(Unlocked([&] { return (*camera)["TriggerSoftware"]; }), Tavix::kCommandTimeout);
}

} // namespace tavixpython
