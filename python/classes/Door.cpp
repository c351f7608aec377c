#include "python/classes/Door.h"

#include <string>

namespace py = pybind11;

namespace tavixpython {
Door::~Door() {
    if (Unlocked([&] { return camera.IsOpen(); })) {
        const py::error_scope kept;
        if (PyErr_ResourceWarning(nullptr, 1, "a camera of tavix was not closed") != 0) PyErr_WriteUnraisable(nullptr);
    }
    const WithoutLock unlocked;
    camera.Close();
}

Tavix::Timeout NotReady(std::chrono::milliseconds time) {
    return Tavix::Timeout("the camera was not ready for a trigger within " + std::to_string(time.count()) + " ms",
                          "TriggerSoftware");
}

void AwaitDoneInSteps(const Tavix::Feature& feature, std::chrono::milliseconds longest) {
    if (WaitInSteps(longest, [&](std::chrono::milliseconds time) { return feature.AwaitDone(time); })) return;
    throw Tavix::Timeout(feature.Name() + " was started and is not done after " + std::to_string(longest.count()) +
                             " ms",
                         feature.Name());
}

} // namespace tavixpython
