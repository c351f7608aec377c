#pragma once
// A camera as the interpreter owns it.

#include "python/Lock.h"

#include <tavix/camera/Camera.h>

#include <functional>
#include <memory>

namespace tavixpython {

/// Complains when it was forgotten. Destroyed with the interpreter's lock held.
struct Door {
    explicit Door(std::shared_ptr<Tavix::Camera> opened) : shared(std::move(opened)), camera(*shared) {}
    ~Door();
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

    const std::shared_ptr<Tavix::Camera> shared; // with the group that it was opened by
    Tavix::Camera& camera;
};

/// Triggers by `trigger`, which takes the longest time to wait for readiness, so that a signal ends the wait.
void TriggerInSteps(const pybind11::object& timeout, const std::function<void(std::chrono::milliseconds)>& trigger);

} // namespace tavixpython
